// Where a sampler's sample is loaded, edited and given its tables, away from the audio thread.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "framework/background_worker.h"
#include "framework/handover.h"
#include "media/audio_file.h"
#include "modules/sources/sample_tables.h"

namespace halveron {

/// One for all voices of a sampler. Operations belong to the interface thread, unless they say
/// otherwise. A worker makes what takes long and hands each result over by itself; it never waits
/// for the processing lock.
class SampleWorkshop {
 public:
  /// Begins with an empty sample. Throws std::bad_alloc.
  SampleWorkshop();

  /// Has the worker read a file, in place of what it does. What is wrong with the file comes as a
  /// message, and the sample stays. A file without a root note takes `otherRoot`, a pitch.
  void Load(const std::string& path, double otherRoot);
  /// The same at once. Throws platform::FileError.
  void LoadNow(const std::string& path, double otherRoot);
  /// Goes over to a sample of `rate` hertz. Ends what the worker does; Resume has the tables made.
  void Use(std::shared_ptr<SampleBuffer> buffer, double rate);
  /// Goes over to a sample with as much room as there is memory for, up to the largest: empty and
  /// of `rate` hertz, or beginning with a copy of the present one. Ends what the worker does. False
  /// if there is no memory.
  bool UseRoomToRecord(double rate, bool keepsSample);
  /// What tables are wanted, for Resume.
  void SetQuality(int position, bool isCycle);
  /// Has the tables made that are wanted and not there; until then the sample is played raw.
  void Resume();
  /// Writes a WAV file in the background; a message says how it went. One that is under way is
  /// finished; until then another is not begun, which a message says, too.
  void Save(const std::string& path, media::SampleFormat format, const media::SampleKey& key);

  /// Ends what the worker does, but for saving.
  void Stop();
  /// Waits for what the worker does, but for saving.
  void Finish();
  bool IsBusy() const { return worker_.IsBusy() || saver_.IsBusy(); }
  /// Gives back the memory of what the audio thread has let go of. Without it that goes with the
  /// next change, and a pending one may have to wait.
  void FreeOld();
  /// Any thread but the audio thread: the newest sample, whether the audio thread has it or not.
  SampleSet Latest() const;
  /// A sample and the pitch that belongs to it; see RootPitch and Tuning.
  struct Rooted {
    SampleSet set;
    double rootPitch, tuning;
  };
  /// Any thread but the audio thread: the newest sample with its own pitch, also while a worker
  /// goes over to another.
  Rooted LatestRooted() const;
  /// A line for the user since the last call, if there is one.
  std::optional<std::string> TakeMessage();
  /// True once after tables could not be made because memory was short.
  bool TakeFailure();
  /// How many files were loaded so far.
  int Loads() const;
  /// How many samples there were so far. One that is being recorded counts from its end, when
  /// MarkChanged is called.
  unsigned Changes() const;
  void MarkChanged();

  /// Any thread: the pitch at which the sample plays at its own rate, and how far that lies from
  /// the note that the panel shows.
  double RootPitch() const { return rootPitch_.load(std::memory_order_relaxed); }
  double Tuning() const { return tuning_.load(std::memory_order_relaxed); }
  void SetRoot(double pitch, double tuning);
  /// The same, with the tuning from the nearest note.
  void SetRoot(double pitch);
  /// MIDI note, 0 to 127.
  int RootNote() const;

  /// Audio thread: goes over to the newest sample; true if that is another one than before.
  bool Take() { return handover_.Take(); }
  /// Audio thread, after the first Take: what it plays.
  const SampleSet& Current() const { return *handover_.Current(); }

 private:
  struct Loaded {
    std::shared_ptr<SampleBuffer> buffer;
    double rate;
    std::optional<double> rootNote;
  };

  static Loaded Decode(const std::string& path, const std::stop_token& stop);
  struct File {
    std::string path;
    double otherRoot;
  };
  void Start(const std::optional<File>& file);
  void Work(const std::optional<File>& file, const std::stop_token& stop);
  void Accept(const Loaded& loaded, double otherRoot);
  struct Wish {
    SampleSet set;  ///< without tables
    int quality;
    bool isCycle;
  };
  bool HasWantedTables() const;
  /// What is to be made; nothing once a stop is requested.
  std::optional<Wish> TakeWish(const std::stop_token& stop);
  void MakeTables(const std::stop_token& stop);
  void Publish(SampleSet set);

  mutable std::mutex mutex_;  // guards all that follows, and publishing
  SampleSet latest_;
  int wantedQuality_ = 0;
  bool wantsCycle_ = false;
  bool working_ = false;  ///< the worker will look at the wishes again
  bool failed_ = false;
  int loads_ = 0;
  unsigned changes_ = 0;
  std::optional<std::string> message_;
  Handover<SampleSet> handover_;
  std::atomic<double> rootPitch_ = 0.0;
  std::atomic<double> tuning_ = 0.0;
  BackgroundWorker saver_;
  BackgroundWorker worker_;  // last: it goes first
};

}  // namespace halveron
