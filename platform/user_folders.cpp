#include "platform/user_folders.h"

#include <glib.h>

namespace halveron::platform {

std::string DocumentsFolder() {
  if (const char* named = g_get_user_special_dir(G_USER_DIRECTORY_DOCUMENTS)) return named;
  return std::string(g_get_home_dir()) + "/Documents";
}

}  // namespace halveron::platform
