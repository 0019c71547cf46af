// What every filter benchmark shares: one 6000 x 4000 picture of noise (96 MB
// at four bytes a pixel), the whole-picture and elliptic selections, and the
// loop that times one engine call at state.range(0) threads.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>

#include "document/rect_region.h"
#include "filters/bit_filter.h"

namespace kelvane::bench {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

inline Bits NoiseBits(int width, int height, uint32_t seed) {
  Bits b(width, height);
  std::mt19937 rng(seed);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

inline const Bits& Picture() {
  static const Bits picture = NoiseBits(kWidth, kHeight, 1);
  return picture;
}

inline const RectRegion& Whole() {
  static const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  return all;
}

inline const RectRegion& Ellipse() {
  static const RectRegion ellipse = RectRegion::FromEllipse(0, 0, kWidth, kHeight);
  return ellipse;
}

// What the engine holds from one iteration to the next.
enum class Between {
  Chain,    // the output becomes the next input; the old input array is
            // reused as the next output buffer, so no iteration pays for a
            // fresh 96 MB allocation
  Restore,  // as Chain, then the same input is put back (untimed): for
            // filters whose cost depends on what they read
  Keep,     // the input stays; every output is a fresh array
};

template <class Call>
void Measure(benchmark::State& state, const RectRegion& region, Call&& call, Between between = Between::Chain,
             const Bits& picture = Picture()) {
  cBitFilter f;
  f.SetThreadCount(static_cast<int>(state.range(0)));
  f.SeedRandom(1);
  f.SetBits(picture);
  f.BitsRegion(&region);
  for (auto _ : state) {
    Bits out = call(f);
    benchmark::DoNotOptimize(out.Data());
    if (between == Between::Keep) continue;
    f.SetBits(std::move(out));
    if (between == Between::Restore) {
      state.PauseTiming();
      f.SetBits(picture);
      state.ResumeTiming();
    }
  }
}

}  // namespace kelvane::bench

// One and two threads, in milliseconds of wall time.
#define KELVANE_BENCHMARK(fn) BENCHMARK(fn)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()
// One thread only, for filters that walk rows in order.
#define KELVANE_BENCHMARK_SERIAL(fn) BENCHMARK(fn)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()
