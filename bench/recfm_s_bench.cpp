// Stream-format records against raw std::ostream::write / std::istream::read of the same bytes.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "vyk/util/StreamRecordFile.h"

namespace {

constexpr size_t kTotal = 100u << 20;  // 100 MB a pass
constexpr int kRecord = 4000;           // bytes per record

// Both sides go through the same std::filebuf on a file in the temporary folder, as a user's
// program would: the kernel copy is common to both, the rest is the cost of the record layer.
std::string benchFile() {
  char const* dir = std::getenv("TMPDIR");
  return std::string(dir ? dir : "/tmp") + "/vyk_recfm_s_bench.dat";
}

std::vector<char> record() {
  std::vector<char> r(kRecord);
  for (int i = 0; i < kRecord; ++i) r[i] = static_cast<char>('a' + i % 26);
  return r;
}

void WriteRecfmS(benchmark::State& state) {
  std::vector<char> r = record();
  vyk::BaseRecordFile::OpenOptions options(vyk::RecordFile::WRITE);
  options.recfm = vyk::BaseRecordFile::RECFM_S;
  for (auto _ : state) {
    std::ofstream out(benchFile(), std::ios::binary | std::ios::trunc);
    vyk::OutputStreamRecordFile file(out, options);
    for (size_t done = 0; done < kTotal; done += kRecord) file.write(r.data(), kRecord, vyk::CC_SINGLE);
    file.flush();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void WriteRawOstream(benchmark::State& state) {
  std::vector<char> r = record();
  for (auto _ : state) {
    std::ofstream out(benchFile(), std::ios::binary | std::ios::trunc);
    for (size_t done = 0; done < kTotal; done += kRecord) out.write(r.data(), kRecord);
    out.flush();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void ReadRecfmS(benchmark::State& state) {
  std::vector<char> buffer(kRecord);
  vyk::BaseRecordFile::OpenOptions options(vyk::RecordFile::READ);
  options.recfm = vyk::BaseRecordFile::RECFM_S;
  for (auto _ : state) {
    std::ifstream in(benchFile(), std::ios::binary);
    vyk::InputStreamRecordFile file(in, options, "bench");
    int eof = 0;
    size_t got = 0;
    while (true) {
      int n = file.read(buffer.data(), kRecord, &eof);
      if (eof) break;
      got += static_cast<size_t>(n);
    }
    benchmark::DoNotOptimize(got);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void ReadRawIstream(benchmark::State& state) {
  std::vector<char> buffer(kRecord);
  for (auto _ : state) {
    std::ifstream in(benchFile(), std::ios::binary);
    size_t got = 0;
    while (in.read(buffer.data(), kRecord) || in.gcount() > 0) got += static_cast<size_t>(in.gcount());
    benchmark::DoNotOptimize(got);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

// The write benchmarks leave the file that the read benchmarks read.
BENCHMARK(WriteRawOstream)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(WriteRecfmS)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadRawIstream)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadRecfmS)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
