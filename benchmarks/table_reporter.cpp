#include "benchmarks/table_reporter.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "benchmarks/scenarios.h"

namespace halveron::benchmarks {

namespace {

struct Column {
  const char* title;
  const char* counter;
  int decimals;
};

constexpr Column kColumns[] = {
    {"ns/sample", kNsPerSample, 2},
    {"net ns/sample", kNetNsPerSample, 2},
    {"by hand", kHandNsPerSample, 2},
    {"over hand", kRackOverHand, 2},
    {"ns/voice, step", kNsPerVoiceAndStep, 2},
    {"plain step", kPlainNsPerStep, 2},
    {"over plain", kOverPlain, 3},
    {"alone", kAloneNsPerSample, 2},
    {"over alone", kOverAlone, 2},
    {"over 512", kOverLongBlocks, 2},
    {"over unmeasured", kOverUnmeasured, 4},
    {"at most", kMostOverHand, 2},
    {"x real time", kTimesRealTime, 1},
    {"ms", kMilliseconds, 2},
    {"loud ns/sample", kLoudNsPerSample, 2},
    {"over loud", kSilentOverLoud, 2},
    {"us", kMicroseconds, 1},
    {"lock us", kLockMicroseconds, 1},
    {"longest us", kLongestLockMicroseconds, 1},
};
constexpr int kColumnWidth = 15;

std::string Fixed(double value, int decimals) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(decimals) << value;
  return text.str();
}

}  // namespace

bool TableReporter::ReportContext(const Context& context) {
  std::ostream& out = GetOutputStream();
  out << "Medians over blocks; " << context.cpu_info.num_cpus << " processors";
  if (!context.cpu_info.load_avg.empty()) {
    out << ", load " << Fixed(context.cpu_info.load_avg.front(), 2);
  }
  out << "\n" << std::flush;
  return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.run_type == Run::RT_Aggregate) continue;
    const std::string& name = run.run_name.function_name;
    if (run.error_occurred) {
      anyFailed_ = true;
      GetErrorStream() << name << ": " << run.error_message << "\n";
    } else {
      rows_.push_back({name, run.counters});
    }
  }
}

void TableReporter::Finalize() {
  if (rows_.empty()) return;
  std::stable_sort(rows_.begin(), rows_.end(),
                   [](const Row& a, const Row& b) { return a.name < b.name; });
  std::size_t nameWidth = 0;
  for (const Row& row : rows_) nameWidth = std::max(nameWidth, row.name.size());

  std::ostream& out = GetOutputStream();
  const auto nameCell = [&](const std::string& name) -> std::ostream& {
    return out << std::left << std::setw(static_cast<int>(nameWidth)) << name << std::right;
  };
  nameCell("scenario");
  for (const Column& column : kColumns) out << std::setw(kColumnWidth) << column.title;
  out << "\n";
  for (const Row& row : rows_) {
    nameCell(row.name);
    for (const Column& column : kColumns) {
      const auto found = row.counters.find(column.counter);
      out << std::setw(kColumnWidth)
          << (found == row.counters.end() ? "" : Fixed(found->second, column.decimals));
    }
    out << "\n";
  }
  out << std::flush;
}

}  // namespace halveron::benchmarks
