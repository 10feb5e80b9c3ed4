// Random MIDI streams as keyboards make them, and what a receiver has left of one.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

#include "framework/sysex.h"
#include "tests/support/midi_words.h"

namespace halveron::testing {

/// Plays random keys on a few channels, each down at most once at a time, among other messages and
/// dumps.
class KeyboardStream {
 public:
  explicit KeyboardStream(unsigned seed, int keys = 24, int channels = 3)
      : random_(seed), keys_(keys), channels_(channels) {}

  /// What the next sample brings, mostly nothing.
  Word Next() {
    if (!packets_.empty()) {
      const Word packet = packets_.front();
      packets_.erase(packets_.begin());
      return packet;
    }
    const auto draw = random_() % 40;
    const int channel = static_cast<int>(random_() % static_cast<unsigned>(channels_));
    const int key = 48 + static_cast<int>(random_() % static_cast<unsigned>(keys_));
    if (draw < 8) return Toggle(channel, key);
    if (draw == 8) return Controller(1, static_cast<int>(random_() % 128), channel);
    if (draw == 9) return Word::FromBytes(0xF8, 0, 0);
    if (draw == 10 && random_() % 8 == 0) BeginDump();
    return {};
  }

  /// The release of one key that is down, none when all are up.
  Word Release() {
    for (int channel = 0; channel < channels_; ++channel) {
      for (int key = 0; key < 128; ++key) {
        if (down_[static_cast<std::size_t>(channel)][static_cast<std::size_t>(key)]) {
          return Toggle(channel, key);
        }
      }
    }
    return {};
  }

  /// The dumps that were begun.
  std::vector<SysExAssembler::Dump> dumps;

 private:
  Word Toggle(int channel, int key) {
    bool& down = down_[static_cast<std::size_t>(channel)][static_cast<std::size_t>(key)];
    down = !down;
    const int velocity = 1 + static_cast<int>(random_() % 127);
    if (down) return On(key, velocity, channel);
    return velocity % 2 ? Off(key, channel) : On(key, 0, channel);
  }

  void BeginDump() {
    SysExAssembler::Dump dump{0xF0};
    for (auto length = random_() % 9; length > 0; --length) {
      dump.push_back(static_cast<std::uint8_t>(random_() % 128));
    }
    dump.push_back(0xF7);
    cutter_.Cut(dump, [this](Word packet) { packets_.push_back(packet); });
    dumps.push_back(dump);
  }

  std::mt19937 random_;
  int keys_;
  int channels_;
  std::array<std::array<bool, 128>, 16> down_{};
  std::vector<Word> packets_;
  SysExCutter cutter_;
};

/// Hears a stream: no key may begin twice.
class Listener {
 public:
  void Hear(Word word) {
    if (word.IsPacket()) {
      if (const auto* dump = assembler_.Take(word)) dumps.push_back(*dump);
      return;
    }
    int& held = sounding_[word.Channel()][word.Data1() & 127u];
    if (word.IsNoteOn()) {
      ++began;
      EXPECT_EQ(held++, 0) << "key " << int{word.Data1()} << " began twice";
    }
    if (word.IsNoteOff()) held = 0;
  }
  int Sounding() const {
    int count = 0;
    for (const auto& channel : sounding_) {
      for (const int held : channel) count += held;
    }
    return count;
  }

  std::vector<SysExAssembler::Dump> dumps;
  int began = 0;

 private:
  std::array<std::array<int, 128>, 16> sounding_{};
  SysExAssembler assembler_{1000};
};

/// Runs `step(word, clock)` over a stream with a clock of some period, releases all keys, lets the
/// clock go on, and checks that nothing hangs and all dumps arrived.
template <class Step>
int ExpectCleanNotes(unsigned seed, int period, Step step) {
  KeyboardStream keyboard(seed);
  Listener listener;
  int sample = 0;
  const auto run = [&](Word word) {
    const float clock = sample++ % period < (period + 1) / 2 ? 1.0f : 0.0f;
    listener.Hear(step(word, clock));
  };
  for (int i = 0; i < 6000; ++i) run(keyboard.Next());
  for (Word word = keyboard.Release(); !word.IsNone(); word = keyboard.Release()) run(word);
  for (int i = 0; i < 3000 + 3 * period; ++i) run({});
  EXPECT_EQ(listener.Sounding(), 0) << "seed " << seed << ", period " << period;
  EXPECT_EQ(listener.dumps, keyboard.dumps);
  return listener.began;
}

}  // namespace halveron::testing
