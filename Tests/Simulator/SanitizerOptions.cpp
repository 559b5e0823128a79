// The web server's library is not built with ThreadSanitizer, which so cannot see
// how it hands a connection from one of its threads to another.
#if defined(__SANITIZE_THREAD__)
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions() {
    return "race:libcpp-httplib.so\n";
}
#endif
