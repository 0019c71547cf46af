// The colour filters on a 6000 x 4000 picture (96 MB at four bytes a pixel),
// whole-picture selection. Each run hands its output back as the next input,
// so the output copy reuses the previous array.
#include <cstring>


#include "bench_support.h"

namespace kelvane {
namespace {

using namespace bench;

// The floor under every point operation: the output copy alone, then one
// more read and write of the picture.
void BM_CopyOnly(benchmark::State& state) {
  Bits out(kWidth, kHeight);
  Picture();
  for (auto _ : state) {
    out = Picture();
    benchmark::DoNotOptimize(out.Data());
  }
}
KELVANE_BENCHMARK_SERIAL(BM_CopyOnly);

void BM_Invert(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.Invert(); }); }
KELVANE_BENCHMARK(BM_Invert);

void BM_Brightness(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.BRIGHTNESS(40); }); }
KELVANE_BENCHMARK(BM_Brightness);

// Level 50 sends many channels past 255, so the spill path is exercised.
void BM_Contrast(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.Contrast(50); }); }
KELVANE_BENCHMARK(BM_Contrast);

void BM_Saturation(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.SATURATION(20); }); }
KELVANE_BENCHMARK(BM_Saturation);

void BM_Equalize(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.Equalize(); }); }
KELVANE_BENCHMARK(BM_Equalize);

void BM_GammaCorrection(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.GammaCorrection(50); });
}
KELVANE_BENCHMARK(BM_GammaCorrection);

void BM_Threshold(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.Threshold(128); }); }
KELVANE_BENCHMARK(BM_Threshold);

void BM_Colorize(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.COLORIZE(0.5f, 0.25f, 1.0f); });
}
KELVANE_BENCHMARK(BM_Colorize);

void BM_Replace(benchmark::State& state) {
  Measure(state, Whole(), [](cBitFilter& f) { return f.REPLACE(Colour{0x808080}, Colour{0x0000FF}, 100); });
}
KELVANE_BENCHMARK(BM_Replace);

void BM_SwapBanks(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.SwapBanks(4); }); }
KELVANE_BENCHMARK(BM_SwapBanks);

// Per-pixel colour-space conversions: the slow end of the family.
void BM_RotateH(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.RotateH(30, 100); }); }
KELVANE_BENCHMARK(BM_RotateH);

void BM_RotateL(benchmark::State& state) { Measure(state, Whole(), [](cBitFilter& f) { return f.RotateL(10, 25); }); }
KELVANE_BENCHMARK(BM_RotateL);

}  // namespace
}  // namespace kelvane
