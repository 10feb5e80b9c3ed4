// What carries work, objects and values between threads.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <numeric>
#include <stdexcept>
#include <vector>

#include "framework/background_worker.h"
#include "framework/handover.h"
#include "framework/triple_buffer.h"
#include "platform/ring_queue.h"
#include "tests/support/allocation_trap.h"

namespace halveron::testing {
namespace {

void WaitFor(const BackgroundWorker& worker) {
  while (worker.IsBusy()) std::this_thread::yield();
}

TEST(BackgroundWorker, RunsOnePieceOfWorkAtATimeAndReportsFailure) {
  BackgroundWorker worker;
  EXPECT_FALSE(worker.IsBusy());
  int result = 0;
  const std::thread::id self = std::this_thread::get_id();
  ASSERT_TRUE(worker.Start([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) std::this_thread::yield();
    result = std::this_thread::get_id() == self ? 1 : 2;
  }));
  EXPECT_TRUE(worker.IsBusy());
  EXPECT_FALSE(worker.Start([](const std::stop_token&) {})) << "one is running";
  worker.RequestStop();
  WaitFor(worker);
  EXPECT_EQ(result, 2);
  EXPECT_EQ(worker.TakeError(), "");

  ASSERT_TRUE(worker.Start([](const std::stop_token&) { throw std::runtime_error("no room"); }));
  WaitFor(worker);
  EXPECT_EQ(worker.TakeError(), "no room");
  EXPECT_EQ(worker.TakeError(), "");
}

TEST(BackgroundWorker, RestartStopsWhatRunsAndKeepsOnlyTheLastToFollow) {
  BackgroundWorker worker;
  std::vector<int> done;  // written by one piece of work after another
  const auto untilStopped = [&](int number) {
    return [&done, number](const std::stop_token& stop) {
      while (!stop.stop_requested()) std::this_thread::yield();
      done.push_back(number);
    };
  };
  const auto once = [&](int number) {
    return [&done, number](const std::stop_token&) { done.push_back(number); };
  };
  std::condition_variable_any wake;
  std::mutex mutex;
  bool release = false;
  ASSERT_TRUE(worker.Start([&](const std::stop_token&) {  // deaf to its token
    std::unique_lock lock(mutex);
    wake.wait(lock, [&] { return release; });
    done.push_back(1);
  }));
  ASSERT_TRUE(worker.Restart(untilStopped(2)));
  ASSERT_TRUE(worker.Restart(untilStopped(3)));  // replaces 2, which never ran
  {
    const std::lock_guard lock(mutex);
    release = true;
  }
  wake.notify_all();
  ASSERT_TRUE(worker.Restart(once(4)));  // 3 may or may not have begun
  WaitFor(worker);
  ASSERT_GE(done.size(), 2u);
  EXPECT_EQ(done.front(), 1);
  EXPECT_EQ(done.back(), 4);
  EXPECT_EQ(std::count(done.begin(), done.end(), 2), 0);

  ASSERT_TRUE(worker.Restart(once(5)));  // with nothing running
  WaitFor(worker);
  EXPECT_EQ(done.back(), 5);
}

TEST(BackgroundWorker, ItsEndStopsAndJoins) {
  bool ended = false;
  {
    BackgroundWorker worker;
    worker.Start([&](const std::stop_token& stop) {
      while (!stop.stop_requested()) std::this_thread::yield();
      ended = true;
    });
    worker.Restart([&](const std::stop_token& stop) {
      while (!stop.stop_requested()) std::this_thread::yield();
    });
  }
  EXPECT_TRUE(ended);
}

/// Counts those that live.
struct Counted {
  explicit Counted(int n) : number(n) { ++alive; }
  ~Counted() { --alive; }
  int number;
  inline static std::atomic<int> alive = 0;
};

TEST(Handover, TheNewestIsTakenAndTheOldOneComesBack) {
  {
    Handover<Counted> handover;
    EXPECT_FALSE(handover.Take());
    EXPECT_EQ(handover.Current(), nullptr);
    handover.Publish(std::make_unique<Counted>(1));
    handover.Publish(std::make_unique<Counted>(2));
    EXPECT_EQ(Counted::alive, 1) << "nobody saw the first";
    {
      const AllocationTrap trap;
      EXPECT_TRUE(handover.Take());
      EXPECT_FALSE(handover.Take());
      EXPECT_EQ(AllocationTrap::Count(), 0);
    }
    EXPECT_EQ(handover.Current()->number, 2);
    handover.Publish(std::make_unique<Counted>(3));
    EXPECT_TRUE(handover.Take());
    EXPECT_EQ(Counted::alive, 2) << "the audio thread frees nothing";
    EXPECT_TRUE(handover.Collect());
    EXPECT_FALSE(handover.Collect());
    EXPECT_EQ(Counted::alive, 1);
    handover.Publish(nullptr);
    EXPECT_TRUE(handover.Take());
    EXPECT_EQ(handover.Current(), nullptr);
    handover.Publish(std::make_unique<Counted>(4));
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(Handover, AudioThreadSeesOnlyWholeAndLivingObjects) {
  struct Table {
    explicit Table(int n) : values(64, n) {}
    std::vector<int> values;
  };
  constexpr int kLast = 3000;
  Handover<Table> handover;
  std::atomic<bool> over = false;
  int newest = 0;
  bool torn = false;
  std::thread audio([&] {
    while (!over) {
      handover.Take();
      const Table* table = handover.Current();
      if (!table) continue;
      torn |= table->values.front() != table->values.back() || table->values.front() < newest;
      newest = table->values.front();
    }
  });
  for (int n = 1; n <= kLast; ++n) handover.Publish(std::make_unique<Table>(n));
  for (int wait = 0; wait < 1000 && !handover.Collect(); ++wait) std::this_thread::yield();
  over = true;
  audio.join();
  handover.Collect();
  handover.Take();
  EXPECT_EQ(handover.Current()->values.front(), kLast);
  EXPECT_FALSE(torn);
}

TEST(TripleBuffer, TheReaderGetsTheNewestWholeCopy) {
  TripleBuffer<std::array<int, 32>> buffer;
  EXPECT_FALSE(buffer.Update());
  buffer.Back().fill(1);
  buffer.Publish();
  buffer.Back().fill(2);
  buffer.Publish();
  EXPECT_TRUE(buffer.IsFresh());
  EXPECT_TRUE(buffer.Update());
  EXPECT_FALSE(buffer.Update());
  EXPECT_EQ(buffer.Front()[31], 2);

  constexpr int kLast = 20000;
  std::thread writer([&] {
    for (int n = 3; n <= kLast; ++n) {
      buffer.Back().fill(n);
      buffer.Publish();
    }
  });
  int seen = 2;
  bool torn = false;
  while (seen < kLast) {
    buffer.Update();
    const auto& copy = buffer.Front();
    torn |= copy.front() != copy.back() || copy.front() < seen;
    seen = copy.front();
  }
  writer.join();
  EXPECT_FALSE(torn);
}

TEST(RingQueue, KeepsOrderOverItsEndAndRefusesWhatDoesNotFit) {
  platform::FloatQueue queue(5);
  const std::array<float, 4> values{1, 2, 3, 4};
  EXPECT_EQ(queue.Write(values), 4u);
  EXPECT_EQ(queue.Free(), 1u);
  EXPECT_EQ(queue.Write(values, 2), 0u) << "half a frame is none";
  EXPECT_FALSE(queue.WriteWhole(values));
  std::array<float, 3> target{};
  EXPECT_EQ(queue.Read(target), 3u);
  EXPECT_EQ(target, (std::array<float, 3>{1, 2, 3}));
  EXPECT_TRUE(queue.WriteWhole(std::span(values).first(1), std::span(values).subspan(2)));
  EXPECT_EQ(queue.Peek(target, 1), 3u);
  EXPECT_EQ(target, (std::array<float, 3>{1, 3, 4}));
  EXPECT_EQ(queue.Peek(target, 4), 0u);
  EXPECT_EQ(queue.Available(), 4u);
  queue.Drop(100);
  EXPECT_EQ(queue.Available(), 0u);
  EXPECT_EQ(queue.Read(target), 0u);
  EXPECT_EQ(queue.Write(std::array<float, 7>{}), 5u) << "as many as fit";
}

TEST(RingQueue, CarriesAllBetweenThreads) {
  platform::ByteQueue queue(37);
  constexpr std::size_t kTotal = 200000;
  std::thread writer([&] {
    std::array<std::uint8_t, 11> chunk;
    for (std::size_t sent = 0; sent < kTotal;) {
      const std::size_t size = std::min<std::size_t>(1 + sent % chunk.size(), kTotal - sent);
      for (std::size_t i = 0; i < size; ++i) chunk[i] = static_cast<std::uint8_t>(sent + i);
      sent += queue.Write(std::span(chunk).first(size));
    }
  });
  std::size_t received = 0;
  std::size_t wrong = 0;
  std::array<std::uint8_t, 17> chunk;
  while (received < kTotal) {
    const std::size_t count = queue.Read(chunk);
    for (std::size_t i = 0; i < count; ++i) {
      wrong += chunk[i] != static_cast<std::uint8_t>(received + i);
    }
    received += count;
  }
  writer.join();
  EXPECT_EQ(wrong, 0u);
}

}  // namespace
}  // namespace halveron::testing
