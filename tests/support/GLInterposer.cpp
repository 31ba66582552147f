#include "support/GLInterposer.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>
#include <type_traits>

#include "support/GLEnumNames.h"
#include "support/shim/GLShim.h"

namespace test {

namespace {

struct EntryPoint {
  std::string_view name;
  std::string_view format;
};

// Deducing the size of std::array would nest deeper than compilers like for so many elements.
constexpr auto kEntryPoints = std::to_array<EntryPoint>({
#define GL_ENTRY(name, format) EntryPoint{#name, format},
#include "support/GLEntryPoints.inc"
#undef GL_ENTRY
});

static_assert(std::is_sorted(kEntryPoints.begin(), kEntryPoints.end(),
                             [](const EntryPoint& a, const EntryPoint& b) { return a.name < b.name; }));

enum kEntryIndex : std::size_t {
#define GL_ENTRY(name, format) k_##name,
#include "support/GLEntryPoints.inc"
#undef GL_ENTRY
};

/// Returns the row of a name, or the number of rows when the list does not have it.
std::size_t FindEntryPoint(std::string_view name) {
  const auto found = std::lower_bound(kEntryPoints.begin(), kEntryPoints.end(), name,
                                      [](const EntryPoint& row, std::string_view n) { return row.name < n; });
  const bool exact = found != kEntryPoints.end() && found->name == name;
  return exact ? static_cast<std::size_t>(found - kEntryPoints.begin()) : kEntryPoints.size();
}

std::array<std::atomic<void*>, kEntryPoints.size()> gDriver{};
std::array<std::atomic<void*>, kEntryPoints.size()> gReplacements{};
thread_local GLRecorder* tRecorder = nullptr;

void* Next(const char* name) { return dlsym(RTLD_NEXT, name); }

void* NextInEGL(const char* name) {
  // The library comes with Qt's plugin, which keeps its symbols to itself.
  void* library = dlopen("libEGL.so.1", RTLD_LAZY);
  return library ? dlsym(library, name) : nullptr;
}

void* Target(std::size_t index) {
  if (void* replacement = gReplacements[index].load(std::memory_order_acquire)) return replacement;
  void* driver = gDriver[index].load(std::memory_order_relaxed);
  if (driver) return driver;
  driver = shim::EntryPoint(kEntryPoints[index].name);
  if (!driver) driver = DriverEntryPoint(kEntryPoints[index].name.data());
  if (!driver) {
    std::fprintf(stderr, "no driver has %s\n", kEntryPoints[index].name.data());
    std::abort();
  }
  gDriver[index].store(driver, std::memory_order_relaxed);
  return driver;
}

// --- Printing.

template <class T>
std::string Plain(T value) {
  if constexpr (std::is_pointer_v<T>) {
    return value ? "ptr" : "null";
  } else {
    std::ostringstream text;
    text << +value;
    return text.str();
  }
}

template <class T>
std::string Array(const T* values, std::size_t count) {
  std::string text = "{";
  for (std::size_t i = 0; values && i < count; ++i) text += (i ? ", " : "") + Plain(values[i]);
  return text + "}";
}

template <class T>
std::string Argument(char letter, T value, [[maybe_unused]] std::size_t first) {
  if constexpr (std::is_integral_v<T>) {
    const auto number = static_cast<unsigned>(value);
    switch (letter) {
      case 'e':
        return GLEnumName(number);
      case 'x':
        return number < 0x100 ? Plain(value) : GLEnumName(number);
      case 'f':
        return GLBlendFactorName(number);
      case 'd':
        return GLPrimitiveName(number);
      case 'm': {
        std::ostringstream text;
        text << "0x" << std::hex << std::uppercase << number;
        return text.str();
      }
      default:
        return Plain(value);
    }
  } else if constexpr (std::is_pointer_v<T> && std::is_arithmetic_v<std::remove_pointer_t<T>>) {
    switch (letter) {
      case 'N':
        return Array(value, first);
      case '4':
        return Array(value, 4);
      case 'M':
        return Array(value, 16);
      default:
        return Plain(value);
    }
  } else {
    return Plain(value);
  }
}

template <class... A>
std::string CallText(const EntryPoint& entry, A... arguments) {
  std::string text(entry.name);
  std::size_t first = 0;
  std::size_t i = 0;
  [[maybe_unused]] const auto append = [&](auto argument) {
    if constexpr (std::is_integral_v<decltype(argument)>) {
      if (i == 0) first = static_cast<std::size_t>(argument);
    }
    text += (i ? ", " : "(") + Argument(entry.format[i], argument, first);
    ++i;
  };
  (append(arguments), ...);
  return text + (sizeof...(A) ? ")" : "()");
}

template <class T>
std::string ResultText(T result) {
  if constexpr (std::is_same_v<T, GLenum>) return Argument('x', result, 0);
  return Plain(result);
}

// --- Live objects. OpenGL's names follow a rule, so that no function needs a line of its own: glGen<Kind>s
// or glCreate<Kind> makes objects, glDelete<Kind>s or glDelete<Kind> takes them away.

class LiveObjects {
 public:
  void Add(const std::string& kind, GLuint name) {
    const std::lock_guard lock(mMutex);
    if (name != 0) mNames[kind].insert(name);
  }
  void Remove(const std::string& kind, GLuint name) {
    const std::lock_guard lock(mMutex);
    auto& names = mNames[kind];
    if (const auto found = names.find(name); found != names.end()) names.erase(found);
  }
  void Clear() {
    const std::lock_guard lock(mMutex);
    mNames.clear();
  }
  std::string Text() const {
    const std::lock_guard lock(mMutex);
    std::string text;
    for (const auto& [kind, names] : mNames) {
      if (!names.empty()) text += kind + ": " + std::to_string(names.size()) + '\n';
    }
    return text;
  }

 private:
  mutable std::mutex mMutex;
  std::map<std::string, std::multiset<GLuint>> mNames;
};

LiveObjects& Objects() {
  static LiveObjects objects;
  return objects;
}

/// Returns the kind of object behind a function name that begins with `prefix`: "Texture" for glGenTextures.
std::string KindAfter(std::string_view name, std::string_view prefix) {
  std::string kind(name.substr(prefix.size()));
  const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
  std::size_t vendor = kind.size();
  while (vendor > 0 && isUpper(kind[vendor - 1])) --vendor;
  if (vendor > 0 && kind[vendor - 1] == 's') kind.erase(vendor - 1, 1);
  return kind;
}

constexpr std::string_view kGen = "glGen";
constexpr std::string_view kCreate = "glCreate";
constexpr std::string_view kDelete = "glDelete";

void Track(const EntryPoint& entry, GLsizei count, GLuint* names) {
  if (!entry.name.starts_with(kGen)) return;
  for (GLsizei i = 0; i < count; ++i) Objects().Add(KindAfter(entry.name, kGen), names[i]);
}

void Track(const EntryPoint& entry, GLsizei count, const GLuint* names) {
  if (!entry.name.starts_with(kDelete)) return;
  for (GLsizei i = 0; i < count; ++i) Objects().Remove(KindAfter(entry.name, kDelete), names[i]);
}

void Track(const EntryPoint& entry, GLuint name) {
  if (entry.name.starts_with(kDelete)) Objects().Remove(KindAfter(entry.name, kDelete), name);
}

void Track(const EntryPoint& entry, GLuint first, GLsizei count) {
  if (!entry.name.starts_with(kDelete)) return;
  for (GLuint i = 0; i < static_cast<GLuint>(count); ++i)
    Objects().Remove(KindAfter(entry.name, kDelete), first + i);
}

template <class... A>
void Track(const EntryPoint&, A...) {}

// Functions that return the first of the names they made.
template <class Result, class... A>
void TrackResult(const EntryPoint& entry, Result result, A... arguments) {
  if constexpr (std::is_same_v<Result, GLuint>) {
    if (entry.name.starts_with(kCreate)) Objects().Add(KindAfter(entry.name, kCreate), result);
    if constexpr (sizeof...(A) == 1) {
      if (!entry.name.starts_with(kGen) || result == 0) return;
      for (GLuint i = 0; i < (static_cast<GLuint>(arguments), ...); ++i) {
        Objects().Add(KindAfter(entry.name, kGen), result + i);
      }
    }
  }
}

// --- The recording functions.

template <std::size_t kIndex, class Signature>
struct Recording;

template <std::size_t kIndex, class Result, class... A>
struct Recording<kIndex, Result(A...)> {
  static_assert(kEntryPoints[kIndex].format.size() == sizeof...(A), "one letter per argument");

  static Result Call(A... arguments) {
    const EntryPoint& entry = kEntryPoints[kIndex];
    auto* target = reinterpret_cast<Result (*)(A...)>(Target(kIndex));
    if constexpr (std::is_void_v<Result>) {
      target(arguments...);
      Track(entry, arguments...);
      if (tRecorder) tRecorder->Add(CallText(entry, arguments...));
    } else {
      const Result result = target(arguments...);
      Track(entry, arguments...);
      TrackResult(entry, result, arguments...);
      if (tRecorder) tRecorder->Add(CallText(entry, arguments...) + " = " + ResultText(result));
      return result;
    }
  }
};

const std::array<void*, kEntryPoints.size()> kRecordings{
#define GL_ENTRY(name, format) reinterpret_cast<void*>(&Recording<k_##name, decltype(::name)>::Call),
#include "support/GLEntryPoints.inc"
#undef GL_ENTRY
};

std::atomic<bool> gMakeCurrentFails = false;

// --- The making of contexts and surfaces.

std::atomic<bool> gWatchesCreation = false;
std::mutex gCreationMutex;
int gCreations = 0;
int gCreationsNow = 0;
int gMostCreations = 0;

/// Lives while a context or a surface is being made.
class Creation {
 public:
  Creation() : mIsCounted(gWatchesCreation) {
    if (!mIsCounted) return;
    {
      const std::lock_guard lock(gCreationMutex);
      ++gCreations;
      gMostCreations = std::max(gMostCreations, ++gCreationsNow);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  ~Creation() {
    const std::lock_guard lock(gCreationMutex);
    if (mIsCounted) --gCreationsNow;
  }
  Creation(const Creation&) = delete;
  Creation& operator=(const Creation&) = delete;

 private:
  bool mIsCounted;
};

using GlxCreate = void*(void*, void*, void*, int, const int*);
GlxCreate* gGlxCreate = nullptr;

void* GlxCreateWatched(void* display, void* configuration, void* share, int direct, const int* attributes) {
  const Creation creation;
  return gGlxCreate(display, configuration, share, direct, attributes);
}

// --- Errors of the driver.

std::mutex gCaptureMutex;
GLErrorCapture* gCapture = nullptr;

void GLAPIENTRY OnDebugMessage(GLenum, GLenum type, GLuint, GLenum, GLsizei length, const GLchar* message,
                               const void*) {
  if (type != GL_DEBUG_TYPE_ERROR && type != GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR) return;
  ReportDriverError(std::string(message, static_cast<std::size_t>(length)));
}

/// Makes the driver report errors of the context that has just been made current.
void WatchCurrentContext() {
  auto* getString = DriverEntryPoint<decltype(::glGetString)>("glGetString");
  const auto* extensions = getString ? reinterpret_cast<const char*>(getString(GL_EXTENSIONS)) : nullptr;
  if (!extensions || std::string_view(extensions).find("GL_KHR_debug") == std::string_view::npos) return;
  DriverEntryPoint<decltype(::glDebugMessageCallback)>("glDebugMessageCallback")(OnDebugMessage, nullptr);
  auto* enable = DriverEntryPoint<decltype(::glEnable)>("glEnable");
  enable(GL_DEBUG_OUTPUT);
  enable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
}

/// Returns the recording function when the list has the name, else what the driver answers.
template <class Resolve>
void* ProcAddress(const char* name, Resolve* resolve) {
  const std::size_t index = FindEntryPoint(name);
  if (index < kEntryPoints.size()) return kRecordings[index];
  void* function = resolve ? reinterpret_cast<void*>(resolve(name)) : nullptr;
  if (!function || std::string_view(name) != "glXCreateContextAttribsARB") return function;
  gGlxCreate = reinterpret_cast<GlxCreate*>(function);
  return reinterpret_cast<void*>(&GlxCreateWatched);
}

}  // namespace

void* DriverEntryPoint(const char* name) {
  using Resolve = void*(const char*);
  static auto* resolve = reinterpret_cast<Resolve*>(Next("glXGetProcAddressARB"));
  return resolve ? resolve(name) : nullptr;
}

void ReplaceEntryPoint(std::string_view name, void* function) {
  const std::size_t index = FindEntryPoint(name);
  if (index >= kEntryPoints.size()) {
    FailWith(std::string(name) + " is not in the list of entry points");
    return;
  }
  gReplacements[index].store(function, std::memory_order_release);
}

void ReportDriverError(std::string message) {
  const std::lock_guard lock(gCaptureMutex);
  if (gCapture)
    gCapture->Add(std::move(message));
  else
    FailWith("OpenGL error: " + message);
}

void* CurrentContextHandle() {
  using Current = void*();
  static auto* const glx = reinterpret_cast<Current*>(Next("glXGetCurrentContext"));
  if (void* const context = glx ? glx() : nullptr) return context;
  static auto* const egl = reinterpret_cast<Current*>(NextInEGL("eglGetCurrentContext"));
  return egl ? egl() : nullptr;
}

GLRecorder::GLRecorder() : mOuter(tRecorder) { tRecorder = this; }
GLRecorder::~GLRecorder() { tRecorder = mOuter; }
GLRecorder* GLRecorder::Current() { return tRecorder; }

namespace {
std::string_view FunctionOf(std::string_view call) { return call.substr(0, call.find('(')); }
}  // namespace

std::string GLRecorder::Text(const std::vector<std::string_view>& names) const {
  std::string text;
  for (const std::string& call : mCalls) {
    const bool wanted =
        names.empty() || std::find(names.begin(), names.end(), FunctionOf(call)) != names.end();
    if (wanted) text += call + '\n';
  }
  return text;
}

int GLRecorder::Count(std::string_view name) const {
  const auto isNamed = [name](const std::string& call) { return FunctionOf(call) == name; };
  return static_cast<int>(std::count_if(mCalls.begin(), mCalls.end(), isNamed));
}

MakeCurrentFailure::MakeCurrentFailure() { gMakeCurrentFails = true; }
MakeCurrentFailure::~MakeCurrentFailure() { gMakeCurrentFails = false; }

CreationWatch::CreationWatch() {
  const std::lock_guard lock(gCreationMutex);
  gCreations = gMostCreations = 0;
  gWatchesCreation = true;
}
CreationWatch::~CreationWatch() { gWatchesCreation = false; }

int CreationWatch::Count() const {
  const std::lock_guard lock(gCreationMutex);
  return gCreations;
}

int CreationWatch::MostAtOnce() const {
  const std::lock_guard lock(gCreationMutex);
  return gMostCreations;
}

std::string LiveGLObjects() { return Objects().Text(); }
void ForgetLiveGLObjects() { Objects().Clear(); }

GLErrorCapture::GLErrorCapture() {
  const std::lock_guard lock(gCaptureMutex);
  mOuter = gCapture;
  gCapture = this;
}

GLErrorCapture::~GLErrorCapture() {
  const std::lock_guard lock(gCaptureMutex);
  gCapture = mOuter;
}

}  // namespace test

// --- The symbols. Their signatures are those of the OpenGL headers, which a macro cannot spell; so each is a
// jump through a pointer to the recording function of that signature.
#if defined(__x86_64__)
#define GL_JUMP(name) "jmp *recording_" #name "(%rip)\n"
#elif defined(__aarch64__)
#define GL_JUMP(name) "adrp x16, recording_" #name "\nldr x16, [x16, :lo12:recording_" #name "]\nbr x16\n"
#else
#error "Write the jump through a pointer for this processor."
#endif

#define GL_ENTRY(name, format)                                                           \
  extern "C" {                                                                           \
  __attribute__((visibility("hidden"), used)) void* recording_##name =                   \
      reinterpret_cast<void*>(&test::Recording<test::k_##name, decltype(::name)>::Call); \
  }                                                                                      \
  __asm__(".text\n.globl " #name "\n.type " #name ", %function\n" #name                  \
          ":\n" GL_JUMP(name) ".size " #name ", .-" #name "\n");
#include "support/GLEntryPoints.inc"
#undef GL_ENTRY

// Qt and others ask for addresses here, and make contexts current here.
extern "C" {

using GLAddress = void (*)();

GLAddress glXGetProcAddressARB(const unsigned char* name) {
  using Resolve = void*(const char*);
  static auto* next = reinterpret_cast<Resolve*>(test::Next("glXGetProcAddressARB"));
  return reinterpret_cast<GLAddress>(test::ProcAddress(reinterpret_cast<const char*>(name), next));
}

GLAddress glXGetProcAddress(const unsigned char* name) { return glXGetProcAddressARB(name); }

GLAddress eglGetProcAddress(const char* name) {
  using Resolve = void*(const char*);
  static auto* next = reinterpret_cast<Resolve*>(test::NextInEGL("eglGetProcAddress"));
  return reinterpret_cast<GLAddress>(test::ProcAddress(name, next));
}

unsigned long glXCreatePbuffer(void* display, void* configuration, const int* attributes) {
  using Create = unsigned long(void*, void*, const int*);
  static auto* next = reinterpret_cast<Create*>(test::Next("glXCreatePbuffer"));
  const test::Creation creation;
  return next(display, configuration, attributes);
}

void* eglCreateContext(void* display, void* configuration, void* share, const int* attributes) {
  using Create = void*(void*, void*, void*, const int*);
  static auto* next = reinterpret_cast<Create*>(test::NextInEGL("eglCreateContext"));
  const test::Creation creation;
  return next(display, configuration, share, attributes);
}

int glXMakeCurrent(void* display, unsigned long drawable, void* context) {
  using Make = int(void*, unsigned long, void*);
  static auto* next = reinterpret_cast<Make*>(test::Next("glXMakeCurrent"));
  if (context && test::gMakeCurrentFails) return 0;
  const int made = next(display, drawable, context);
  if (made && context) test::WatchCurrentContext();
  return made;
}

int glXMakeContextCurrent(void* display, unsigned long draw, unsigned long read, void* context) {
  using Make = int(void*, unsigned long, unsigned long, void*);
  static auto* next = reinterpret_cast<Make*>(test::Next("glXMakeContextCurrent"));
  if (context && test::gMakeCurrentFails) return 0;
  const int made = next(display, draw, read, context);
  if (made && context) test::WatchCurrentContext();
  return made;
}

unsigned eglMakeCurrent(void* display, void* draw, void* read, void* context) {
  using Make = unsigned(void*, void*, void*, void*);
  static auto* next = reinterpret_cast<Make*>(test::NextInEGL("eglMakeCurrent"));
  if (context && test::gMakeCurrentFails) return 0;
  const unsigned made = next(display, draw, read, context);
  if (made && context) test::WatchCurrentContext();
  return made;
}

void glXDestroyContext(void* display, void* context) {
  using Destroy = void(void*, void*);
  static auto* next = reinterpret_cast<Destroy*>(test::Next("glXDestroyContext"));
  test::shim::ForgetContext(context);
  next(display, context);
}

unsigned eglDestroyContext(void* display, void* context) {
  using Destroy = unsigned(void*, void*);
  static auto* next = reinterpret_cast<Destroy*>(test::NextInEGL("eglDestroyContext"));
  test::shim::ForgetContext(context);
  return next(display, context);
}

}  // extern "C"
