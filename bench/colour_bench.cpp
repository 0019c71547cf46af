// The colour filters on a 6000 x 4000 picture (96 MB at four bytes a pixel),
// whole-picture selection. Each run hands its output back as the next input,
// so the output copy reuses the previous array.
#include <benchmark/benchmark.h>

#include <cstring>
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
    std::mt19937 rng(2);
    for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
    return b;
  }();
  return picture;
}

template <class Call>
void RunFilter(benchmark::State& state, Call&& call) {
  const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  cBitFilter f;
  f.SetThreadCount(static_cast<int>(state.range(0)));
  f.SetBits(Picture());
  f.BitsRegion(&all);
  for (auto _ : state) {
    Bits out = call(f);
    benchmark::DoNotOptimize(out.Data());
    f.SetBits(std::move(out));  // hands the old array back as the next output buffer
  }
}

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
BENCHMARK(BM_CopyOnly)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Invert(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.Invert(); }); }
BENCHMARK(BM_Invert)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Brightness(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.BRIGHTNESS(40); }); }
BENCHMARK(BM_Brightness)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// Level 50 sends many channels past 255, so the spill path is exercised.
void BM_Contrast(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.Contrast(50); }); }
BENCHMARK(BM_Contrast)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Saturation(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.SATURATION(20); }); }
BENCHMARK(BM_Saturation)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Equalize(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.Equalize(); }); }
BENCHMARK(BM_Equalize)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_GammaCorrection(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.GammaCorrection(50); });
}
BENCHMARK(BM_GammaCorrection)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Threshold(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.Threshold(128); }); }
BENCHMARK(BM_Threshold)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Colorize(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.COLORIZE(0.5f, 0.25f, 1.0f); });
}
BENCHMARK(BM_Colorize)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Replace(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.REPLACE(Colour{0x808080}, Colour{0x0000FF}, 100); });
}
BENCHMARK(BM_Replace)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SwapBanks(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.SwapBanks(4); }); }
BENCHMARK(BM_SwapBanks)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// Per-pixel colour-space conversions: the slow end of the family.
void BM_RotateH(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.RotateH(30, 100); }); }
BENCHMARK(BM_RotateH)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_RotateL(benchmark::State& state) { RunFilter(state, [](cBitFilter& f) { return f.RotateL(10, 25); }); }
BENCHMARK(BM_RotateL)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace kelvane
