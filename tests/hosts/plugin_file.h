// The plug-in's files as a host loads them.
#pragma once

#include "engine/clap_abi.h"
#include "engine/vst2_abi.h"
#include "platform/shared_library.h"

namespace halveron::testing {

inline constexpr const char* kClapFile = HALVERON_PLUGIN_FOLDER "/Halveron.clap";
inline constexpr const char* kVst2File = HALVERON_PLUGIN_FOLDER "/Halveron.so";

/// The CLAP file, loaded and initialised.
class ClapFile {
 public:
  explicit ClapFile(const std::string& path = kClapFile)
      : library_(path), entry_(library_.FindObject<clap_plugin_entry_t>("clap_entry")) {
    if (!entry_ || !entry_->init(path.c_str())) throw std::runtime_error("no CLAP entry");
  }
  ~ClapFile() { entry_->deinit(); }

  const clap_plugin_entry_t& Entry() const { return *entry_; }
  const void* Factory() const { return entry_->get_factory(CLAP_PLUGIN_FACTORY_ID); }

 private:
  platform::SharedLibrary library_;
  const clap_plugin_entry_t* entry_;
};

}  // namespace halveron::testing
