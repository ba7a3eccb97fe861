// Reading and writing LF-terminated lines through the V format, beside std::getline, a memchr split
// and std::ostream::write on the same data.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "vyk/util/RecfmV.h"
#include "vyk/util/StreamRecordFile.h"

namespace {

using vyk::BaseRecordFile;
using Options = BaseRecordFile::OpenOptions;

// Total size of the text in megabytes: VYK_BENCH_MB, 200 by default.
size_t totalBytes() {
  char const* mb = std::getenv("VYK_BENCH_MB");
  return static_cast<size_t>(mb ? std::atoi(mb) : 200) << 20;
}

// Lines of 1 to 159 letters (80 on average), each ended by LF, in memory and in a file.
struct Text {
  std::string bytes;
  std::string path;
  long long lines = 0;
  Text() {
    std::mt19937 random(12345);
    std::uniform_int_distribution<int> length(1, 159);
    size_t total = totalBytes();
    bytes.reserve(total + 200);
    while (bytes.size() < total) {
      int n = length(random);
      for (int i = 0; i < n; ++i) bytes.push_back(static_cast<char>('a' + (i * 7 + n) % 26));
      bytes.push_back('\n');
      ++lines;
    }
    char name[] = "/tmp/vyk_records_benchXXXXXX";
    int fd = mkstemp(name);
    if (fd >= 0) close(fd);
    path = name;
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  ~Text() { std::remove(path.c_str()); }
};

Text const& text() {
  static Text const t;
  return t;
}
// Made before the first benchmark starts its clock.
Text const& kText = text();

// A record file whose device is the text in memory.
class MemoryDevice : public BaseRecordFile {
 public:
  MemoryDevice(std::string const& bytes, Options const& options) : bytes_(bytes) { open(options); }
  std::string const& getFilename() const override { return name_; }
  void getProperties(std::vector<vyk::IntrusivePointer<vyk::RecordFileProperty>>&) const override {}
  void flush(unsigned char const*, int) override {}
  int fill(unsigned char* data, int count) override {
    size_t n = std::min(static_cast<size_t>(count), bytes_.size() - at_);
    std::memcpy(data, bytes_.data() + at_, n);
    at_ += n;
    return static_cast<int>(n);
  }
  using BaseRecordFile::flush;

 private:
  std::string const& bytes_;
  size_t at_ = 0;
  std::string name_;
};

Options vOptions(vyk::RecordFile::OpenMode mode, int termstr) {
  Options options(mode);
  options.recfm = BaseRecordFile::RECFM_V;
  options.termstr = termstr;
  options.bufferSize = 1 << 16;
  return options;
}

long long readThrough(BaseRecordFile& file) {
  std::vector<char> buffer(1 << 16);
  long long lines = 0;
  int eof = 0;
  while (file.read(buffer.data(), static_cast<int>(buffer.size()), &eof) >= 0) ++lines;
  return lines;
}

void finish(benchmark::State& state, long long lines) {
  if (lines != text().lines) state.SkipWithError("wrong number of lines");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(text().bytes.size()));
}

void ReadRecfmVFromMemory(benchmark::State& state) {
  long long lines = 0;
  for (auto _ : state) {
    MemoryDevice file(text().bytes, vOptions(vyk::RecordFile::READ, static_cast<int>(state.range(0))));
    lines = readThrough(file);
    benchmark::DoNotOptimize(lines);
  }
  finish(state, lines);
}
BENCHMARK(ReadRecfmVFromMemory)->Arg(BaseRecordFile::TERMSTR_LF)->Arg(BaseRecordFile::TERMSTR_ANY);

void ReadRecfmVFromIfstream(benchmark::State& state) {
  long long lines = 0;
  for (auto _ : state) {
    std::ifstream in(text().path, std::ios::binary);
    vyk::InputStreamRecordFile file(in, vOptions(vyk::RecordFile::READ, BaseRecordFile::TERMSTR_ANY),
                                    text().path);
    lines = readThrough(file);
    benchmark::DoNotOptimize(lines);
  }
  finish(state, lines);
}
BENCHMARK(ReadRecfmVFromIfstream);

void GetlineFromIfstream(benchmark::State& state) {
  long long lines = 0;
  for (auto _ : state) {
    std::ifstream in(text().path, std::ios::binary);
    std::string line;
    lines = 0;
    while (std::getline(in, line)) ++lines;
    benchmark::DoNotOptimize(lines);
  }
  finish(state, lines);
}
BENCHMARK(GetlineFromIfstream);

void MemchrSplitInMemory(benchmark::State& state) {
  long long lines = 0;
  for (auto _ : state) {
    char const* p = text().bytes.data();
    char const* end = p + text().bytes.size();
    lines = 0;
    size_t longest = 0;
    while (p < end) {
      char const* lf = static_cast<char const*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
      if (lf == nullptr) lf = end;
      longest = std::max(longest, static_cast<size_t>(lf - p));
      ++lines;
      p = lf + 1;
    }
    benchmark::DoNotOptimize(longest);
  }
  finish(state, lines);
}
BENCHMARK(MemchrSplitInMemory);

// The lines as (start, length) pairs, so that both writers get the same records.
std::vector<std::pair<size_t, int>> const& lineTable() {
  static std::vector<std::pair<size_t, int>> const table = [] {
    std::vector<std::pair<size_t, int>> t;
    std::string const& b = text().bytes;
    for (size_t at = 0; at < b.size();) {
      size_t lf = b.find('\n', at);
      t.emplace_back(at, static_cast<int>(lf - at));
      at = lf + 1;
    }
    return t;
  }();
  return table;
}

void WriteRecfmVToOfstream(benchmark::State& state) {
  auto const& lines = lineTable();
  char const* base = text().bytes.data();
  for (auto _ : state) {
    std::ofstream out("/dev/null", std::ios::binary);
    vyk::OutputStreamRecordFile file(out, vOptions(vyk::RecordFile::WRITE, BaseRecordFile::TERMSTR_LF));
    for (auto const& l : lines) file.write(base + l.first, l.second, vyk::CC_SINGLE);
    file.flush();
  }
  finish(state, static_cast<long long>(lines.size()));
}
BENCHMARK(WriteRecfmVToOfstream);

void OstreamWriteToOfstream(benchmark::State& state) {
  auto const& lines = lineTable();
  char const* base = text().bytes.data();
  for (auto _ : state) {
    std::ofstream out("/dev/null", std::ios::binary);
    for (auto const& l : lines) {
      out.write(base + l.first, l.second);
      out.put('\n');
    }
    out.flush();
  }
  finish(state, static_cast<long long>(lines.size()));
}
BENCHMARK(OstreamWriteToOfstream);

}  // namespace
