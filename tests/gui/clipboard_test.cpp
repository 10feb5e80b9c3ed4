// The clipboard that programs share: between two connections to one display.
#include "platform/clipboard.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "tests/support/display/test_display.h"

namespace halveron::platform {
namespace {

constexpr char kOwn[] = "application/x-test";

class ClipboardTest : public ::testing::Test {
 protected:
  template <class Condition>
  static bool Wait(const Condition& isDone) {
    for (int i = 0; i < 1000; ++i) {
      if (isDone()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }
  static ClipboardForm Get(Clipboard& clipboard, std::vector<std::string> types) {
    const auto request = clipboard.Ask(types);
    std::optional<ClipboardForm> form;
    Wait([&] { return (form = request->Take()).has_value(); });
    return form.value_or(ClipboardForm{"no answer", ""});
  }
};

TEST_F(ClipboardTest, GoesFromOneProgramToAnother) {
  HALVERON_NEEDS_DISPLAY(display);
  const std::string name = std::getenv("DISPLAY");
  std::shared_ptr<Clipboard> here = DisplayClipboard();
  ASSERT_NE(here, nullptr);
  EXPECT_EQ(DisplayClipboard(), here) << "one for all windows of a process";
  // Another name of the same display stands for another process.
  setenv("DISPLAY", (name + ".0").c_str(), 1);
  const std::shared_ptr<Clipboard> there = DisplayClipboard();
  setenv("DISPLAY", name.c_str(), 1);
  ASSERT_NE(there, here);

  std::string large(3'000'001, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 7 + i / 1000);
  const std::uint64_t first = here->Offer({{kOwn, large}, {kClipboardText, "w\xC3\xB6rds"}});
  EXPECT_TRUE(here->Holds(first));
  EXPECT_TRUE(Wait([&] { return there->Has(kOwn) && there->Has(kClipboardText); }));
  EXPECT_FALSE(there->Has("image/png"));
  const ClipboardForm form = Get(*there, {"image/png", kOwn, kClipboardText});
  EXPECT_EQ(form.type, kOwn);
  EXPECT_TRUE(form.bytes == large) << "in pieces";
  EXPECT_EQ(Get(*there, {kClipboardText}).bytes, "w\xC3\xB6rds");
  EXPECT_EQ(Get(*there, {"image/png"}).type, "");
  EXPECT_EQ(Get(*here, {kClipboardText}).bytes, "w\xC3\xB6rds") << "of our own";
  EXPECT_EQ(display->ReadClipboard([] {}), "w\xC3\xB6rds") << "what other programs get";

  const std::uint64_t second = here->Offer({{kClipboardText, ""}});
  EXPECT_FALSE(here->Holds(first));
  EXPECT_TRUE(Wait([&] { return Get(*there, {kOwn, kClipboardText}).type == kClipboardText; }));
  there->Offer({{kClipboardText, "newer"}});
  EXPECT_TRUE(Wait([&] { return !here->Holds(second); }));
  EXPECT_EQ(Get(*here, {kOwn, kClipboardText}).bytes, "newer");

  here->Offer({{kOwn, "gone"}});
  EXPECT_TRUE(Wait([&] { return there->Has(kOwn); }));
  here.reset();
  EXPECT_TRUE(Wait([&] { return !there->Has(kOwn); }));
  EXPECT_EQ(Get(*there, {kOwn}).type, "");
}

TEST_F(ClipboardTest, OffersOfOneProcessFollowOneAnother) {
  const std::shared_ptr<Clipboard> clipboard = PrivateClipboard();
  EXPECT_EQ(Get(*clipboard, {kOwn}).type, "");
  EXPECT_FALSE(clipboard->Holds(0));
  const std::uint64_t first = clipboard->Offer({{kOwn, "a"}});
  EXPECT_TRUE(clipboard->Holds(first));
  clipboard->Offer({{kClipboardText, "b"}});
  EXPECT_FALSE(clipboard->Holds(first));
  EXPECT_FALSE(clipboard->Has(kOwn));
  EXPECT_EQ(Get(*clipboard, {kOwn, kClipboardText}).bytes, "b");
}

}  // namespace
}  // namespace halveron::platform
