#include "editor/jack_tools.h"

#include <set>
#include <string>
#include <vector>

#include "editor/context_menus.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/module.h"
#include "presets/text_patch.h"

namespace halveron {

namespace {

using Menu = SharedPointer<SynOptionMenu>;

/// The cables that the user sees on a jack, in the order in which they were plugged.
std::vector<Cable*> CablesOf(const SynEditor& editor, const PatchPoint& jack) {
  std::vector<Cable*> cables;
  for (Cable* cable = editor.cables.cableList.head; cable; cable = cable->next) {
    if (cable->IsMain() && (cable->destination == &jack || cable->origin == &jack)) {
      cables.push_back(cable);
    }
  }
  return cables;
}

PatchPoint& FarEnd(const Cable& cable, const PatchPoint& jack) {
  return cable.destination == &jack ? *cable.origin : *cable.destination;
}

std::string NameOf(const PatchPoint& jack) {
  return std::string(jack.Owner()->GetName()) + ": " + jack.role;
}

/// Runs `f(Cable&)` if the cable still exists: the host may replace the rack under an open menu.
template <class F>
void IfPresent(SynEditor& editor, const Cable* wanted, F&& f) {
  for (Cable* cable = editor.cables.cableList.head; cable; cable = cable->next) {
    if (cable == wanted) return f(*cable);
  }
}

void Unplug(SynEditor& editor, const Cable* cable) {
  IfPresent(editor, cable, [&](Cable& present) {
    editor.cables.RemoveCable(&present, kAllVoices, false);
    editor.RequestRedraw();
  });
}

/// The two jacks and those of their further voices, along controls and rings.
std::set<const PatchPoint*> VoicesOf(const PatchPoint& jack) {
  std::set<const PatchPoint*> voices;
  for (const PatchPoint* point = &jack; point; point = point->NextVoice()) voices.insert(point);
  for (const PatchPoint* point = jack.voiceLink; point && point != &jack;
       point = point->voiceLink) {
    if (!voices.insert(point).second) break;
  }
  return voices;
}

/// Builds the menu of one jack.
class JackMenu {
 public:
  JackMenu(SynEditor& editor, RackWindow& window, PatchPoint& jack)
      : editor_(editor), window_(window), jack_(jack), cables_(CablesOf(editor, jack)) {}

  Menu Make() const {
    Menu menu = SynOptionMenu::Make();
    AddUnplug(*menu);
    menu->AddSubmenu("Colour", MakeColours());
    menu->setEntryEnabled(menu->getNbEntries() - 1, !cables_.empty() && !jack_.twoState);
    AddGoTo(*menu);
    menu->addSeparator();
    menu->AddSubmenu("Module", MakeModuleMenu(editor_, *jack_.Owner()));
    return menu;
  }

 private:
  void AddUnplug(SynOptionMenu& menu) const {
    if (cables_.size() < 2) {
      menu.Add("Unplug", UnplugAll()).setEnabled(!cables_.empty());
      return;
    }
    menu.Add("Unplug All", UnplugAll());
    Menu each = SynOptionMenu::Make();
    for (const Cable* cable : cables_) {
      each->Add(NameOf(FarEnd(*cable, jack_)),
                [&editor = editor_, cable] { Unplug(editor, cable); });
    }
    menu.AddSubmenu("Unplug", each);
  }

  std::function<void()> UnplugAll() const {
    return [&editor = editor_, cables = cables_] {
      for (const Cable* cable : cables) Unplug(editor, cable);
    };
  }

  Menu MakeColours() const {
    Menu menu = SynOptionMenu::Make();
    int colour = 1;
    for (const char* name : kCableColourNames) {
      const bool isPresent = !cables_.empty() && cables_.front()->colour == colour;
      menu->AddChecked(name, isPresent, [&editor = editor_, cables = cables_, colour] {
        for (const Cable* cable : cables) {
          IfPresent(editor, cable, [&](Cable& present) { RecolourCable(editor, present, colour); });
        }
      });
      ++colour;
    }
    return menu;
  }

  void AddGoTo(SynOptionMenu& menu) const {
    const auto show = [this](const Cable* cable) {
      return [&editor = editor_, &window = window_, &jack = jack_, cable] {
        IfPresent(editor, cable,
                  [&](Cable& present) { JackTools(editor, window).Show(FarEnd(present, jack)); });
      };
    };
    if (cables_.size() < 2) {
      menu.Add("Go to Other End", cables_.empty() ? std::function<void()>() : show(cables_.front()))
          .setEnabled(!cables_.empty());
      return;
    }
    Menu ends = SynOptionMenu::Make();
    for (const Cable* cable : cables_) ends->Add(NameOf(FarEnd(*cable, jack_)), show(cable));
    menu.AddSubmenu("Go to Other End", ends);
  }

  SynEditor& editor_;
  RackWindow& window_;
  PatchPoint& jack_;
  std::vector<Cable*> cables_;
};

}  // namespace

void RecolourCable(SynEditor& editor, Cable& cable, int colour) {
  const PatchEdit edit(editor, PatchEdit::Hold::kAtTheEnd);
  const std::set<const PatchPoint*> destinations = VoicesOf(*cable.destination);
  const std::set<const PatchPoint*> origins = VoicesOf(*cable.origin);
  for (const CableList* list : {&editor.cables.cableList, &editor.cables.sumCableList}) {
    for (Cable* record = list->head; record; record = record->next) {
      if (record->IsMain()
              ? record == &cable
              : destinations.contains(record->destination) && origins.contains(record->origin)) {
        record->colour = colour;
      }
    }
  }
  editor.CableChanged(&cable);
}

void JackTools::FollowMouse() {
  SynRack& rack = window_.Rack();
  SynFrame& frame = window_.Frame();
  std::vector<const Cable*> lifted;
  const bool isFree = editor_.options.liftCables.Get() && !frame.getModalView() &&
                      !window_.IsDragging() && !editor_.cables.isDraggingCable;
  if (isFree) {
    if (const auto* jack = dynamic_cast<const PatchPoint*>(editor_.ViewUnderMouse())) {
      const std::vector<Cable*> cables = CablesOf(editor_, *jack);
      lifted.assign(cables.begin(), cables.end());
    }
  }
  rack.LiftCables(std::move(lifted));
}

bool JackTools::Press(PatchPoint& jack, const CButtonState& buttons) {
  if (editor_.cables.isDraggingCable || window_.IsDragging()) return false;
  if (buttons.isRightButton()) {
    window_.PopUp(JackMenu(editor_, window_, jack).Make(),
                  window_.Frame().getCurrentMouseLocation());
    return true;
  }
  if (buttons.isLeftButton() && buttons.isControlSet()) BeginCopy(jack);
  return false;
}

void JackTools::BeginCopy(PatchPoint& jack) {
  // An end that receives, too, would have its cable pulled.
  if (!jack.source || !jack.firstCable || jack.firstCable->CrossesVoices()) return;
  PatchPoint* origin = jack.firstCable->origin;
  if (origin == &jack || origin->source) return;
  const int colour = jack.firstCable->colour;
  editor_.cables.BeginCableDrag(origin);
  editor_.cables.dragColour = colour;
}

void JackTools::Show(const PatchPoint& jack) {
  window_.ScrollToShow(*jack.Owner());
  window_.Rack().FlashJack(jack);
}

}  // namespace halveron
