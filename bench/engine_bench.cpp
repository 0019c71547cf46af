// The engine frame on a 6000 x 4000 picture (96 MB at four bytes a pixel).
// Build with scripts/build --bench; run build/bench/kelvane_bench.
#include <benchmark/benchmark.h>

#include <random>

#include "document/rect_region.h"
#include "filters/bit_filter.h"

namespace kelvane {
namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

const Bits& Picture() {
  static const Bits picture = [] {
    Bits b(kWidth, kHeight);
    std::mt19937 rng(1);
    for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
    return b;
  }();
  return picture;
}

void Setup(cBitFilter& f, const RectRegion& region, benchmark::State& state) {
  f.SetThreadCount(static_cast<int>(state.range(0)));
  f.SetBits(Picture());
  f.BitsRegion(&region);
}

void BM_GreyScale(benchmark::State& state) {
  const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  cBitFilter f;
  Setup(f, all, state);
  for (auto _ : state) {
    Bits out = f.GreyScale();
    benchmark::DoNotOptimize(out.Data());
    f.SetBits(std::move(out));  // hands the old array back as the next output buffer
  }
}
BENCHMARK(BM_GreyScale)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GreyScaleEllipse(benchmark::State& state) {
  const RectRegion ellipse = RectRegion::FromEllipse(0, 0, kWidth, kHeight);
  cBitFilter f;
  Setup(f, ellipse, state);
  for (auto _ : state) {
    Bits out = f.GreyScale();
    benchmark::DoNotOptimize(out.Data());
    f.SetBits(std::move(out));
  }
}
BENCHMARK(BM_GreyScaleEllipse)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ResampleHalf(benchmark::State& state) {
  const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  cBitFilter f;
  Setup(f, all, state);
  for (auto _ : state) {
    f.BitsResample(Picture(), kWidth / 2, kHeight / 2);
    benchmark::DoNotOptimize(f.BitsRef().Data());
  }
}
BENCHMARK(BM_ResampleHalf)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Flip(benchmark::State& state) {
  const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  cBitFilter f;
  Setup(f, all, state);
  for (auto _ : state) {
    Bits out = f.Flip(true, false);
    benchmark::DoNotOptimize(out.Data());
    f.SetBits(std::move(out));
  }
}
BENCHMARK(BM_Flip)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace kelvane
