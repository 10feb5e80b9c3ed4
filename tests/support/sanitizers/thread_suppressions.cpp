// The libraries that draw text are not compiled for the thread sanitizer and start threads of their
// own, whose locks it cannot see; what they do inside is left out of its reports. A knob's value is
// a plain float that the window or the host writes while the audio thread reads it, which gets the
// value before or after; nothing else is required.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions() {
  return "race:halveron::ModuleKnob::setValue\n"
         "called_from_lib:libfontconfig.so\n"
         "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:libpango-1.0.so\n"
         "called_from_lib:libpangoft2-1.0.so\n"
         "called_from_lib:libpangocairo-1.0.so\n"
         "race:libfontconfig.so\n"
         "race:libglib-2.0.so\n"
         "race:libpango\n"
         "race:libharfbuzz.so\n"
         "race:libcairo.so\n"
         "mutex:libcairo.so\n"
         "deadlock:libcairo.so\n";
}
