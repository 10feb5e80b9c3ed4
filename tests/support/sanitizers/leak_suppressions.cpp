// What the leak sanitizer asks a test program for.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

// Without this option the sanitizer notes the thread-local block of every loaded library. It takes
// a block that lies 16 bytes after the start of a page, as one in 256 does, for one with a header
// of older C libraries, reads a range from what stands there, and crashes at the end of the
// process. The dynamic loader's allocations count as reachable with the option too, these blocks
// among them.
extern "C" const char* __asan_default_options() { return "intercept_tls_get_addr=0"; }

// What libraries keep until the process ends, by their own design: the font library's
// configuration, and the rings of a JACK client that finds no server.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\nleak:jack_ringbuffer_create\n";
}
