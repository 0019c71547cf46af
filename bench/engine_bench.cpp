// The engine frame on a 6000 x 4000 picture (96 MB at four bytes a pixel).
// Build with scripts/build --bench; run build/bench/kelvane_bench.

#include "bench_support.h"

namespace kelvane {
namespace {

using namespace bench;

void BM_GreyScale(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.GreyScale(); }); }
KELVANE_BENCHMARK(BM_GreyScale);

void BM_GreyScaleEllipse(benchmark::State& state) {
  Measure(state, Ellipse(), [](cBitFilter& f) { return f.GreyScale(); });
}
KELVANE_BENCHMARK(BM_GreyScaleEllipse);

void BM_ResampleHalf(benchmark::State& state) {
  cBitFilter f;
  f.SetThreadCount(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    f.BitsResample(Picture(), kWidth / 2, kHeight / 2);
    benchmark::DoNotOptimize(f.BitsRef().Data());
  }
}
KELVANE_BENCHMARK(BM_ResampleHalf);

void BM_Flip(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.Flip(true, false); }); }
KELVANE_BENCHMARK(BM_Flip);

}  // namespace
}  // namespace kelvane
