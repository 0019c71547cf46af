// Deformation filters on a 6000 x 4000 picture, whole-picture selection unless
// the name says otherwise.
#include <benchmark/benchmark.h>

#include <functional>
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

const Bits& Tile() {
  static const Bits tile = [] {
    Bits b(64, 48);
    std::mt19937 rng(2);
    for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
    return b;
  }();
  return tile;
}

void Measure(benchmark::State& state, const RectRegion& region, const std::function<Bits(cBitFilter&)>& call) {
  cBitFilter f;
  f.SetThreadCount(static_cast<int>(state.range(0)));
  f.SetBits(Picture());
  f.BitsRegion(&region);
  for (auto _ : state) {
    Bits out = call(f);
    benchmark::DoNotOptimize(out.Data());
    // Hand the output back as the next output buffer, then restore the same
    // input (untimed), so that no iteration pays for a fresh 96 MB array.
    f.SetBits(std::move(out));
    state.PauseTiming();
    f.SetBits(Picture());
    state.ResumeTiming();
  }
}

const RectRegion& Whole() {
  static const RectRegion all = RectRegion::FromRect(0, 0, kWidth, kHeight);
  return all;
}

const RectRegion& Ellipse() {
  static const RectRegion ellipse = RectRegion::FromEllipse(0, 0, kWidth, kHeight);
  return ellipse;
}

void BM_Rotate30(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.ROTATE(30, true); }); }
void BM_Rotate30Ellipse(benchmark::State& s) { Measure(s, Ellipse(), [](cBitFilter& f) { return f.ROTATE(30, true); }); }
void BM_RotateSmooth30(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.RotateSmooth(30); }); }
void BM_Twirl(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.TWIRL(50, 20, true); }); }
void BM_Waves(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.WAVES(30, 40, 0); }); }
void BM_Lens(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.3125, 50); }); }
void BM_Bend(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.BEND(0, true); }); }
void BM_Stretch(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.STRETCH(-30, 20, true); }); }
void BM_Fold(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.FOLD(40, -40, true); }); }
void BM_Light(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.Light(0.5, 0.5, 0.3125, 250, 0); }); }
void BM_Tile(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.TILE(4); }); }
void BM_TileMask(benchmark::State& s) {
  Measure(s, Whole(), [](cBitFilter& f) { return f.TileMask(Tile(), 0, 0, true, 50, Colour{-1}); });
}
void BM_Grid(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.Grid(25, 25, true, Colour{255}, 128); }); }
void BM_GlassSlanting(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.GLASS("slanting", 0); }); }
void BM_GlassSquary(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.GLASS("squary", 2); }); }
void BM_Texturize(benchmark::State& s) { Measure(s, Whole(), [](cBitFilter& f) { return f.Texturize(Tile()); }); }

#define DEFORM_BENCH(name) BENCHMARK(name)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()
DEFORM_BENCH(BM_Rotate30);
DEFORM_BENCH(BM_Rotate30Ellipse);
DEFORM_BENCH(BM_RotateSmooth30);
DEFORM_BENCH(BM_Twirl);
DEFORM_BENCH(BM_Waves);
DEFORM_BENCH(BM_Lens);
DEFORM_BENCH(BM_Bend);
DEFORM_BENCH(BM_Stretch);
DEFORM_BENCH(BM_Fold);
DEFORM_BENCH(BM_Light);
DEFORM_BENCH(BM_Tile);
DEFORM_BENCH(BM_TileMask);
DEFORM_BENCH(BM_Grid);
DEFORM_BENCH(BM_GlassSlanting);
DEFORM_BENCH(BM_GlassSquary);
DEFORM_BENCH(BM_Texturize);

}  // namespace
}  // namespace kelvane
