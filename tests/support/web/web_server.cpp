#include "tests/support/web/web_server.h"

#include <httplib.h>
#include <sndfile.h>

#include <chrono>
#include <cmath>
#include <map>
#include <mutex>
#include <numbers>
#include <stdexcept>

#include "tests/support/scratch_folder.h"

namespace halveron::testing {

namespace {

int FormatOf(const std::string& kind) {
  if (kind == "mp3") return SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;
  if (kind == "ogg") return SF_FORMAT_OGG | SF_FORMAT_VORBIS;
  return SF_FORMAT_WAV | SF_FORMAT_PCM_16;
}

httplib::Headers ToHeaders(const std::vector<std::pair<std::string, std::string>>& headers) {
  httplib::Headers all;
  for (const auto& [name, value] : headers) all.emplace(name, value);
  return all;
}

}  // namespace

std::string SineFile(const std::string& kind, double seconds, double hertz, int rate, int channels,
                     const std::string& artist, const std::string& title) {
  const ScratchFolder folder;
  const std::string path = folder.At("sine." + kind);
  SF_INFO info{};
  info.channels = channels;
  info.samplerate = rate;
  info.format = FormatOf(kind);
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file) throw std::runtime_error(sf_strerror(nullptr));
  if (kind == "mp3") {
    int mode = SF_BITRATE_MODE_CONSTANT;
    double level = 0.0;
    sf_command(file, SFC_SET_BITRATE_MODE, &mode, sizeof mode);
    sf_command(file, SFC_SET_COMPRESSION_LEVEL, &level, sizeof level);
  }
  if (!artist.empty()) sf_set_string(file, SF_STR_ARTIST, artist.c_str());
  if (!title.empty()) sf_set_string(file, SF_STR_TITLE, title.c_str());
  const auto frames = static_cast<std::size_t>(seconds * rate);
  std::vector<float> samples(frames * static_cast<std::size_t>(channels));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto frame = static_cast<double>(i / static_cast<std::size_t>(channels));
    samples[i] = static_cast<float>(0.5 * std::sin(2.0 * std::numbers::pi * hertz * frame / rate));
  }
  sf_writef_float(file, samples.data(), static_cast<sf_count_t>(frames));
  sf_close(file);
  return ReadFile(path);
}

std::string WithInBandTexts(const std::string& stream, std::size_t interval,
                            const std::vector<std::string>& texts) {
  std::string result;
  std::size_t next = 0;
  for (std::size_t at = 0; at < stream.size(); at += interval) {
    const std::string piece = stream.substr(at, interval);
    result += piece;
    if (piece.size() < interval) break;
    std::string text = next < texts.size() ? texts[next++] : std::string();
    text.resize((text.size() + 15) / 16 * 16, '\0');
    result += static_cast<char>(text.size() / 16);
    result += text;
  }
  return result;
}

struct WebServer::Log {
  mutable std::mutex lock;
  std::map<std::string, int> requests;
  std::vector<std::string> targets;
};

WebServer::WebServer()
    : server_(std::make_unique<httplib::Server>()), log_(std::make_unique<Log>()) {
  // A thread an answer would be too few for those that hang.
  server_->new_task_queue = [] { return new httplib::ThreadPool(12); };
  server_->set_keep_alive_max_count(1);
  server_->set_read_timeout(2);
  port_ = server_->bind_to_any_port("127.0.0.1");
  if (port_ <= 0) throw std::runtime_error("no port on the loopback");
  server_->set_logger([](const auto&, const auto&) {});
  thread_ = std::thread([this] { server_->listen_after_bind(); });
  while (!server_->is_running()) std::this_thread::yield();
}

WebServer::~WebServer() {
  isEnding_ = true;
  server_->stop();
  thread_.join();
}

std::string WebServer::Address(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

/// No longer than a test may take.
void WebServer::Wait() const { Wait(isEnding_); }

void WebServer::Wait(const std::atomic<bool>& isOver) const {
  for (int i = 0; i < 2000 && !isOver && !isEnding_; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void WebServer::Do(const std::string& path, Answer answer) {
  server_->Get(path, [this, path, answer = std::move(answer)](const httplib::Request& request,
                                                              httplib::Response& response) {
    {
      const std::lock_guard lock(log_->lock);
      ++log_->requests[path];
      log_->targets.push_back(request.target);
    }
    if (isDown_) {
      response.status = 503;
    } else {
      answer(request, response);
    }
  });
}

void WebServer::Serve(const std::string& path, const std::string& type, const std::string& bytes,
                      const std::vector<std::pair<std::string, std::string>>& headers) {
  Do(path, [=](const httplib::Request&, httplib::Response& response) {
    for (const auto& header : ToHeaders(headers)) response.headers.insert(header);
    response.set_content(bytes, type);
  });
}

void WebServer::Stream(const std::string& path, const std::string& type, const std::string& bytes,
                       After after,
                       const std::vector<std::pair<std::string, std::string>>& headers) {
  Do(path, [=, this](const httplib::Request&, httplib::Response& response) {
    for (const auto& header : ToHeaders(headers)) response.headers.insert(header);
    response.set_content_provider(type, [=, this](std::size_t offset, httplib::DataSink& sink) {
      constexpr std::size_t kPiece = 8192;
      if (after == After::kPause && offset >= bytes.size()) Wait(isResumed_);
      const bool repeats = (after == After::kAgain || (after == After::kPause && isResumed_)) &&
                           !isDown_ && !isEnding_;
      if (offset < bytes.size() || repeats) {
        // Faster than it sounds for a start, then no faster than that needs.
        if (offset >= bytes.size()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const std::size_t at = offset % bytes.size();
        return sink.write(bytes.data() + at, std::min(kPiece, bytes.size() - at));
      }
      if (after == After::kSilence) Wait();
      return false;
    });
  });
}

void WebServer::Hang(const std::string& path) {
  Do(path, [this](const httplib::Request&, httplib::Response&) { Wait(); });
}

void WebServer::Redirect(const std::string& path, const std::string& target) {
  Do(path, [target](const httplib::Request&, httplib::Response& response) {
    response.set_redirect(target);
  });
}

int WebServer::Requests(const std::string& path) const {
  const std::lock_guard lock(log_->lock);
  const auto found = log_->requests.find(path);
  return found == log_->requests.end() ? 0 : found->second;
}

std::vector<std::string> WebServer::Targets() const {
  const std::lock_guard lock(log_->lock);
  return log_->targets;
}

}  // namespace halveron::testing
