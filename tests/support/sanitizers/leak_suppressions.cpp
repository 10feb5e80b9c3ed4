// The font library keeps its configuration until the process ends, by its own design; the leak
// sanitizer asks this function what to leave out.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
