#include "editor/module_picker.h"

#include <array>

#include "editor/module_catalogue.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

SharedPointer<SynOptionMenu> MakeModulePicker(SynEditor& editor) {
  SharedPointer<SynOptionMenu> menu = SynOptionMenu::Make();
  menu->setStyle(kFindInSubmenus);
  menu->Add("Browse...",
            [&editor] {
              if (RackWindow* window = editor.Window()) window->OpenModuleBrowser();
            })
      .setShortcut("Ctrl+B");
  menu->addSeparator();
  std::array<SharedPointer<SynOptionMenu>, kCategoryCount> categories;
  for (int i = 0; i < kCategoryCount; ++i) {
    categories[static_cast<std::size_t>(i)] = SynOptionMenu::Make();
    menu->AddSubmenu(NamesOf(static_cast<Category>(i)).display,
                     categories[static_cast<std::size_t>(i)]);
  }
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    categories[static_cast<std::size_t>(entry.category)]
        ->Add(entry.name,
              [&editor, name = entry.name] { editor.commands.InsertModule(name, kBuiltInVendor); })
        .setEnabled(entry.make != nullptr);
  }
  for (const ModuleLibrary& library : editor.externalModules.Libraries()) {
    for (const ModuleEntry& entry : library.modules) {
      categories[static_cast<std::size_t>(entry.category)]->Add(
          entry.name, [&editor, name = entry.name, vendor = library.vendor] {
            editor.commands.InsertModule(name, vendor);
          });
    }
  }
  return menu;
}

}  // namespace halveron
