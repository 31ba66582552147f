#include "IsolatedReader.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "ChildProcess.h"
#include "Descriptor.h"
#include "HeldMessages.h"
#include "Interruption.h"

// What a texture file tells beside the name of its layout.
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(RDDSInfo, width, height, depth, levels, faces, isCubemap, isVolume,
                                   isCompressed, isFloat, isLuminance, hasAlpha, isPremultiplied)

namespace {

using Json = nlohmann::json;

// What an answer begins with.
constexpr char kAnswered = 'A';
constexpr char kEnded = 'E';
constexpr std::size_t kMostAnswer = 65536;
constexpr const char* kMalformed = "its answer is malformed";

// --- Messages with a descriptor.

struct alignas(cmsghdr) ControlBytes {
  std::array<char, CMSG_SPACE(sizeof(int))> bytes{};
};

bool SendRequest(int socket, const std::string& path, int file) {
  iovec part{const_cast<char*>(path.data()), path.size()};
  ControlBytes control;
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.bytes.data();
  message.msg_controllen = control.bytes.size();
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(header), &file, sizeof(int));
  const ssize_t size = Uninterrupted([&] { return sendmsg(socket, &message, MSG_NOSIGNAL); });
  return size == static_cast<ssize_t>(path.size());
}

// Returns the descriptor, or -1 at the end.
int ReceiveRequest(int socket, std::string& path) {
  std::array<char, PATH_MAX> name;
  iovec part{name.data(), name.size()};
  ControlBytes control;
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.bytes.data();
  message.msg_controllen = control.bytes.size();
  const ssize_t size = Uninterrupted([&] { return recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
  const cmsghdr* header = size > 0 ? CMSG_FIRSTHDR(&message) : nullptr;
  if (!header) return -1;
  path.assign(name.data(), static_cast<std::size_t>(size));
  int file = -1;
  std::memcpy(&file, CMSG_DATA(header), sizeof(int));
  return file;
}

// --- In the process of one picture.

void Limit(__rlimit_resource_t resource, std::uint64_t most) {
  const rlimit limit{most, most};
  setrlimit(resource, &limit);
}

void LimitProcess(const ReadOptions& options) {
  // The sixth number is the memory for data, in pages; the limit is for all of it.
  std::ifstream file("/proc/self/statm");
  std::uint64_t pages = 0;
  for (int i = 0; i < 6; ++i) file >> pages;
  constexpr std::uint64_t kRoom = 256ULL << 20U;
  Limit(RLIMIT_DATA, pages * static_cast<std::uint64_t>(getpagesize()) + 3 * options.maxMemory + kRoom);
  Limit(RLIMIT_CPU, static_cast<std::uint64_t>(options.seconds) + 1);
  Limit(RLIMIT_FSIZE, options.maxMemory + kMostAnswer);
}

std::size_t LayerBytes(RImage& image) {
  return static_cast<std::size_t>(image.GetWidth()) * static_cast<std::size_t>(image.GetHeight()) *
         static_cast<std::size_t>(image.GetPixelSize());
}

Json ToJson(const FilePicture& file) {
  RImage& image = *file.picture.image;
  Json json = {{"format", image.GetFormat()},
               {"width", image.GetWidth()},
               {"height", image.GetHeight()},
               {"type", image.GetImageType()},
               {"interleave", image.GetInterleaveType()},
               {"interpolation", image.GetInterpolationType()},
               {"premultiplied", file.picture.alpha == AlphaState::kPremultiplied},
               {"orientation", file.orientation.toInt()}};
  if (!file.texture) return json;
  json["texture"] = *file.texture;
  json["layout"] = file.texture->format;
  return json;
}

Json ReadForOther(Host& host, const std::string& path, const ReadOptions& options, int pixels) {
  try {
    const FilePicture file = ReadPictureFile(host, path, options);
    RImage& image = *file.picture.image;
    if (WriteWhole(pixels, image.GetImageBits(), LayerBytes(image))) return ToJson(file);
    return {{"code", ExitCode::kRead}, {"reason", ErrorText(errno)}};
  } catch (const Failure& failure) {
    return {{"code", failure.Code()}, {"reason", failure.Reason()}};
  }
}

std::string AnswerText(Host& host, const std::string& path, const ReadOptions& options, int pixels) {
  LimitProcess(options);
  HeldMessages held(false);
  Json json = ReadForOther(host, path, options, pixels);
  json["messages"] = held.Take();
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// --- In this process, which believes nothing of what comes back.

// The layouts' names are texts of this program, so that they outlive the answer.
const char* LayoutName(const std::string& name) {
  static std::set<std::string> names;
  return names.insert(name).first->c_str();
}

Failure NoPicture(const std::string& path, const std::string& reason) {
  return {ExitCode::kRead, path, "the process that reads it gave no picture: " + Printable(reason)};
}

FilePicture FromJson(const std::string& path, const Json& json, const ReadOptions& options, int pixels) {
  FilePicture file{{RDestroyPtr<RImage>(RImageCreate())}, {}};
  const auto number = [&](const char* name) { return json.at(name).get<int>(); };
  constexpr int kLeastPixelSize = 2;
  CheckMemory(ExitCode::kRead, path, number("width"), number("height"), kLeastPixelSize, options.maxMemory);
  const auto format = static_cast<kImageFormat>(number("format"));
  RImage& image = *file.picture.image;
  const bool made =
      format >= kImageFormatRGBA && format <= kImageFormatARGB && number("width") > 0 &&
      number("height") > 0 &&
      image.Init(format, number("width"), number("height"), 0, 0, false,
                 static_cast<kImageType>(number("type")), static_cast<kInterleaveType>(number("interleave")),
                 static_cast<kInterpolationType>(number("interpolation")), RImage::kIncarnationRaw);
  if (!made || LayerBytes(image) > options.maxMemory ||
      !ReadWhole(pixels, image.GetImageBits(), LayerBytes(image))) {
    throw NoPicture(path, kMalformed);
  }
  file.picture.alpha =
      json.at("premultiplied").get<bool>() ? AlphaState::kPremultiplied : AlphaState::kStraight;
  file.orientation = QImageIOHandler::Transformations::fromInt(
      json.at("orientation").get<QImageIOHandler::Transformations::Int>());
  if (!json.contains("texture")) return file;
  file.texture = json["texture"].get<RDDSInfo>();
  file.texture->format = LayoutName(json.at("layout").get<std::string>());
  return file;
}

FilePicture TakeAnswer(const std::string& path, const Json& json, const ReadOptions& options, int pixels) {
  for (const Json& line : json.at("messages")) Say(line.get<std::string>() + '\n');
  if (json.contains("reason")) {
    throw Failure(static_cast<ExitCode>(json.at("code").get<int>()), path,
                  Printable(json["reason"].get<std::string>()));
  }
  return FromJson(path, json, options, pixels);
}

}  // namespace

IsolatedReader::IsolatedReader(Host& host, ReadOptions options) : mOptions(std::move(options)) {
  mOptions.isolate = false;  // in the other process
  std::array<int, 2> ends = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0) {
    const InterruptionsHeld held;
    (void)std::fflush(nullptr);  // or the copy would hold the same text
    mServer = fork();
    if (mServer == 0) StartAsChild();
  }
  const int error = errno;
  mSocket = ends[0];
  if (mServer == 0) {
    close(mSocket);
    Serve(host, ends[1]);
  }
  if (ends[1] >= 0) close(ends[1]);
  if (mServer < 0) throw Failure(ExitCode::kRead, "--isolate", ErrorText(error));
}

IsolatedReader::~IsolatedReader() {
  if (mSocket >= 0) close(mSocket);
  if (mServer > 0) EndProcess(mServer);
}

void IsolatedReader::Serve(Host& host, int socket) const {
  std::string path;
  for (int number = -1; (number = ReceiveRequest(socket, path)) >= 0;) {
    const Descriptor pixels(number);
    const auto work = [&](int descriptor) {
      const std::string text = AnswerText(host, path, mOptions, pixels.Get());
      (void)WriteWhole(descriptor, text.data(), text.size());
    };
    std::string reason;
    const auto text = RunInChild(work, mOptions.seconds * 1000, reason);
    const std::string answer = (text ? kAnswered + *text : kEnded + reason).substr(0, kMostAnswer);
    if (Uninterrupted([&] { return send(socket, answer.data(), answer.size(), MSG_NOSIGNAL); }) < 0) break;
  }
  _exit(0);
}

FilePicture IsolatedReader::Read(const std::string& path) const {
  const Descriptor pixels(memfd_create("rimage-pixels", MFD_CLOEXEC));
  std::vector<char> answer(kMostAnswer);
  ssize_t size = -1;
  if (pixels.Get() >= 0 && SendRequest(mSocket, path, pixels.Get())) {
    size = Uninterrupted([&] { return recv(mSocket, answer.data(), answer.size(), 0); });
  }
  if (size < 1) throw NoPicture(path, "it has ended");
  const std::string text(answer.data() + 1, static_cast<std::size_t>(size) - 1);
  if (answer[0] == kEnded) throw NoPicture(path, text);
  try {
    return TakeAnswer(path, Json::parse(text), mOptions, pixels.Get());
  } catch (const Json::exception&) {
    throw NoPicture(path, kMalformed);
  }
}
