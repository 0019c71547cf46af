// Convolution and rank filters on a 6000 x 4000 picture, one and two threads.
#include <benchmark/benchmark.h>

#include <functional>
#include <random>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/stock_masks.h"

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

void RunFilter(benchmark::State& state, const std::function<Bits(cBitFilter&)>& filter) {
  const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  cBitFilter f;
  f.SetThreadCount(static_cast<int>(state.range(0)));
  f.SetBits(Picture());
  f.BitsRegion(&all);
  f.SeedRandom(1);
  for (auto _ : state) {
    Bits out = filter(f);
    benchmark::DoNotOptimize(out.Data());
    f.SetBits(std::move(out));  // hands the old array back as the next output buffer
  }
}

void BM_MaskFilterSharpen3x3(benchmark::State& state) {
  const UserFilterRecord sharpen = GetMask(4);
  RunFilter(state, [&](cBitFilter& f) { return f.MaskFilter(sharpen.Mask, sharpen.Divisor, 0, 0, 0, false); });
}
void BM_MaskFilterBlur5x5(benchmark::State& state) {
  const UserFilterRecord blur = GetMask(1);
  RunFilter(state, [&](cBitFilter& f) { return f.MaskFilter(blur.Mask, blur.Divisor, 0, 0, 0, false); });
}
void BM_Blurs(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.Blurs(1); });
}
void BM_SOFTEN(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.SOFTEN(30); });
}
void BM_SHARPEN(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.SHARPEN(10); });
}
void BM_EMBOSS(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.EMBOSS(10); });
}
void BM_CONTOUR(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.CONTOUR(200, Colour{255255255}); });
}
void BM_DILATE(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.DILATE(); });
}
void BM_RankFilterND(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.RankFilterND(1); });
}
void BM_RELIEF(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.RELIEF(); });
}
void BM_PAINTING(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.PAINTING(); });
}
void BM_DIFFUSE(benchmark::State& state) {
  RunFilter(state, [](cBitFilter& f) { return f.DIFFUSE(5, 10); });
}

BENCHMARK(BM_MaskFilterSharpen3x3)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MaskFilterBlur5x5)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Blurs)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SOFTEN)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SHARPEN)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_EMBOSS)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CONTOUR)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DILATE)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RankFilterND)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RELIEF)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PAINTING)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DIFFUSE)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace kelvane
