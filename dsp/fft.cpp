#include "dsp/fft.h"

#include <fftw3.h>

#include <cstddef>
#include <mutex>
#include <new>

namespace halveron::dsp {

namespace {

/// FFTW's planner has state that all threads share; running a plan has none.
std::mutex& PlannerLock() {
  static std::mutex lock;
  return lock;
}

struct FftwFree {
  void operator()(void* memory) const { fftwf_free(memory); }
};

template <class T>
using FftwBuffer = std::unique_ptr<T[], FftwFree>;

template <class T>
FftwBuffer<T> TakeBuffer(std::size_t count) {
  void* memory = fftwf_malloc(count * sizeof(T));
  if (!memory) throw std::bad_alloc();
  return FftwBuffer<T>(new (memory) T[count]{});
}

}  // namespace

struct RealFft::Plans {
  explicit Plans(int samples)
      : size(samples),
        signal(TakeBuffer<float>(static_cast<std::size_t>(samples))),
        spectrum(TakeBuffer<std::complex<float>>(Bins())) {
    auto* bins = reinterpret_cast<fftwf_complex*>(spectrum.get());
    const std::scoped_lock guard(PlannerLock());
    // Estimated plans, as measured ones differ from run to run, and so do their roundings.
    forward = fftwf_plan_dft_r2c_1d(size, signal.get(), bins, FFTW_ESTIMATE | FFTW_PRESERVE_INPUT);
    inverse = fftwf_plan_dft_c2r_1d(size, bins, signal.get(), FFTW_ESTIMATE | FFTW_DESTROY_INPUT);
    if (forward && inverse) return;
    Destroy();
    throw std::bad_alloc();
  }
  ~Plans() {
    const std::scoped_lock guard(PlannerLock());
    Destroy();
  }
  Plans(const Plans&) = delete;
  Plans& operator=(const Plans&) = delete;

  std::size_t Bins() const { return static_cast<std::size_t>(size) / 2 + 1; }

  int size;
  FftwBuffer<float> signal;
  FftwBuffer<std::complex<float>> spectrum;
  fftwf_plan forward = nullptr;
  fftwf_plan inverse = nullptr;

 private:
  void Destroy() {
    if (forward) fftwf_destroy_plan(forward);
    if (inverse) fftwf_destroy_plan(inverse);
  }
};

RealFft::RealFft(int size) : plans_(std::make_unique<Plans>(size)) {}
RealFft::~RealFft() = default;
RealFft::RealFft(RealFft&&) noexcept = default;
RealFft& RealFft::operator=(RealFft&&) noexcept = default;

int RealFft::Size() const { return plans_->size; }

std::span<float> RealFft::Signal() {
  return {plans_->signal.get(), static_cast<std::size_t>(plans_->size)};
}

std::span<std::complex<float>> RealFft::Spectrum() {
  return {plans_->spectrum.get(), plans_->Bins()};
}

void RealFft::Forward() { fftwf_execute(plans_->forward); }

void RealFft::Inverse() { fftwf_execute(plans_->inverse); }

}  // namespace halveron::dsp
