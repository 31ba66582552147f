// For programs under a sanitizer: a finding aborts them, where it would end them with an exit code. On an
// abort the tool hands out what it holds back of standard error, the sanitizer's report among it.
extern "C" const char* __asan_default_options() { return "abort_on_error=1"; }
extern "C" const char* __ubsan_default_options() { return "abort_on_error=1"; }
