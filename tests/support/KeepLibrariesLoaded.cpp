// For programs under the leak check: graphics drivers stay loaded until it runs. It could not name the
// functions of unloaded ones, and tests/lsan.supp lists by library what they keep per process.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIMAGE_LEAK_CHECK
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define RIMAGE_LEAK_CHECK
#endif

#ifdef RIMAGE_LEAK_CHECK
extern "C" int dlclose(void* /*library*/) noexcept { return 0; }
#endif
