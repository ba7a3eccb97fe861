// Translating a large ISO-8859-1 buffer to IBM-1047: the table converter against iconv.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "vyk/util/CharConverter.h"

namespace {

// Text-like bytes over the whole Latin-1 range, the same for both paths.
std::vector<char> const& sourceOf(std::size_t size) {
  static std::vector<char> source;
  if (source.size() != size) {
    source.resize(size);
    unsigned int x = 12345;
    for (std::size_t i = 0; i < size; ++i) {
      x = x * 1103515245u + 12345u;
      source[i] = static_cast<char>((x >> 16) & 0xFF);
    }
  }
  return source;
}

void BM_TrantabCharConverter(benchmark::State& state) {
  std::size_t const size = static_cast<std::size_t>(state.range(0));
  std::vector<char> const& source = sourceOf(size);
  std::vector<char> target(size);
  vyk::IntrusivePointer<vyk::CharConverter> converter = vyk::SingleByteCharConverter::iso88591ToOpenEd1047();
  for (auto _ : state) {
    unsigned long const n = converter->convert(source.data(), size, target.data(), size);
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

void BM_Iconv(benchmark::State& state) {
  std::size_t const size = static_cast<std::size_t>(state.range(0));
  std::vector<char> const& source = sourceOf(size);
  std::vector<char> target(size);
  iconv_t cd = iconv_open("IBM1047", "ISO-8859-1");
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    state.SkipWithError("iconv has no IBM1047");
    return;
  }
  for (auto _ : state) {
    char* in = const_cast<char*>(source.data());
    char* out = target.data();
    std::size_t inLeft = size, outLeft = size;
    std::size_t const r = iconv(cd, &in, &inLeft, &out, &outLeft);
    if (r == static_cast<std::size_t>(-1) || inLeft != 0) state.SkipWithError("iconv stopped early");
    benchmark::DoNotOptimize(r);
    benchmark::ClobberMemory();
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

// 256 MiB and 1 GiB, each path on the same bytes.
BENCHMARK(BM_TrantabCharConverter)->Arg(256 << 20)->Arg(1 << 30)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Iconv)->Arg(256 << 20)->Arg(1 << 30)->Unit(benchmark::kMillisecond);

}  // namespace
