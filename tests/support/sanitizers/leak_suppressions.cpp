// What libraries keep until the process ends, by their own design; the leak sanitizer asks this
// function what to leave out: the font library's configuration, and the rings of a JACK client that
// finds no server.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\nleak:jack_ringbuffer_create\n";
}
