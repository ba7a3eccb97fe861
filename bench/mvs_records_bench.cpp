// Writing and reading blocked (VB) and spanned (VBS) S370 records against a plain write(2)/read(2)
// loop that lays out the same bytes: 4-byte big-endian block and record length prefixes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "vyk/util/BaseRecordFile.h"
#include "vyk/util/Exception.h"

namespace {

// Payload bytes per run; VYK_BENCH_MB overrides the default of 200 MB.
long long totalBytes() {
  char const* mb = std::getenv("VYK_BENCH_MB");
  return (mb ? std::atoll(mb) : 200) << 20;
}

constexpr int BLOCK_SIZE = 32760;

std::string benchPath() {
  char const* dir = std::getenv("TMPDIR");
  return std::string(dir ? dir : "/tmp") + "/vyk_mvs_records_bench." + std::to_string(getpid());
}

// Record lengths from 1 to 500 bytes (mean about 250) and the bytes they are cut from.
struct Data {
  std::vector<int> lengths;
  std::vector<char> bytes;
  Data() : lengths(4096), bytes(1 << 16) {
    std::mt19937 random(7);
    for (int& l : lengths) l = std::uniform_int_distribution<int>(1, 500)(random);
    for (char& c : bytes) c = static_cast<char>(random());
  }
  // Calls f(record, length) for records until the payload reaches total.
  template <typename F>
  long long forEach(long long total, F f) const {
    long long done = 0;
    for (size_t i = 0; done < total; ++i) {
      int length = lengths[i % lengths.size()];
      f(bytes.data() + (i * 131) % (bytes.size() - 512), length);
      done += length;
    }
    return done;
  }
};

Data const& data() {
  static Data const d;
  return d;
}

void writeFully(int fd, char const* bytes, size_t count) {
  while (count > 0) {
    ssize_t n = ::write(fd, bytes, count);
    if (n < 0) throw vyk::IOException("write failed");
    bytes += n;
    count -= static_cast<size_t>(n);
  }
}

// A record file on a descriptor, for the benchmark only.
class DescriptorRecordFile : public vyk::BaseRecordFile {
 public:
  DescriptorRecordFile(int fd, OpenOptions const& options) : fd_(fd) { open(options); }
  ~DescriptorRecordFile() override { BaseRecordFile::flush(); }
  std::string const& getFilename() const override { return name_; }
  void getProperties(std::vector<vyk::IntrusivePointer<vyk::RecordFileProperty>>&) const override {}
  void flush(unsigned char const* bytes, int count) override {
    writeFully(fd_, reinterpret_cast<char const*>(bytes), static_cast<size_t>(count));
  }
  int fill(unsigned char* bytes, int count) override {
    ssize_t n = ::read(fd_, bytes, static_cast<size_t>(count));
    return n < 0 ? 0 : static_cast<int>(n);
  }
  using BaseRecordFile::flush;

 private:
  int fd_;
  std::string name_ = "bench";
};

void libraryRoundTrip(benchmark::State& state, vyk::BaseRecordFile::Recfm recfm) {
  std::string path = benchPath();
  long long payload = 0;
  std::vector<char> buffer(1 << 16);
  for (auto _ : state) {
    int fd = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    {
      vyk::BaseRecordFile::OpenOptions options(vyk::RecordFile::WRITE);
      options.recfm = recfm;
      options.bufferSize = BLOCK_SIZE;
      vyk::IntrusivePointer<DescriptorRecordFile> out(new DescriptorRecordFile(fd, options));
      payload = data().forEach(totalBytes(), [&](char const* r, int n) { out->write(r, n, vyk::CC_SINGLE); });
      out->flush();
    }
    ::close(fd);
    fd = ::open(path.c_str(), O_RDONLY);
    long long back = 0;
    {
      vyk::BaseRecordFile::OpenOptions options(vyk::RecordFile::READ);
      options.recfm = recfm;
      options.bufferSize = BLOCK_SIZE;
      vyk::IntrusivePointer<DescriptorRecordFile> in(new DescriptorRecordFile(fd, options));
      int eof = 0;
      while (true) {
        int n = in->read(buffer.data(), static_cast<int>(buffer.size()), &eof);
        if (eof) break;
        back += n;
      }
    }
    ::close(fd);
    if (back != payload) state.SkipWithError("records lost");
  }
  ::unlink(path.c_str());
  state.SetBytesProcessed(2 * payload * static_cast<long long>(state.iterations()));
}

void putBigEndian(char* out, unsigned value) {
  out[0] = static_cast<char>(value >> 24);
  out[1] = static_cast<char>(value >> 16);
  out[2] = static_cast<char>(value >> 8);
  out[3] = static_cast<char>(value);
}

unsigned getBigEndian(char const* in) {
  unsigned char const* u = reinterpret_cast<unsigned char const*>(in);
  return (unsigned(u[0]) << 24) | (unsigned(u[1]) << 16) | (unsigned(u[2]) << 8) | u[3];
}

// The peer: records behind 4-byte length prefixes gathered into blocks of BLOCK_SIZE bytes with a
// 4-byte block length in front, one write(2) per block; read back with read(2) per block and every
// record copied out to the caller's buffer.
void plainRoundTrip(benchmark::State& state) {
  std::string path = benchPath();
  long long payload = 0;
  std::vector<char> block(BLOCK_SIZE);
  std::vector<char> buffer(1 << 16);
  for (auto _ : state) {
    int fd = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    size_t used = 4;
    auto writeBlock = [&] {
      putBigEndian(block.data(), static_cast<unsigned>(used) << 16);
      writeFully(fd, block.data(), used);
      used = 4;
    };
    payload = data().forEach(totalBytes(), [&](char const* r, int n) {
      if (used + 4 + static_cast<size_t>(n) > block.size()) writeBlock();
      putBigEndian(block.data() + used, static_cast<unsigned>(n + 4) << 16);
      std::memcpy(block.data() + used + 4, r, static_cast<size_t>(n));
      used += 4 + static_cast<size_t>(n);
    });
    if (used > 4) writeBlock();
    ::close(fd);

    fd = ::open(path.c_str(), O_RDONLY);
    long long back = 0;
    while (::read(fd, block.data(), 4) == 4) {
      size_t length = getBigEndian(block.data()) >> 16;
      if (::read(fd, block.data() + 4, length - 4) != static_cast<ssize_t>(length - 4)) break;
      for (size_t at = 4; at < length;) {
        size_t n = (getBigEndian(block.data() + at) >> 16) - 4;
        std::memcpy(buffer.data(), block.data() + at + 4, n);
        benchmark::DoNotOptimize(buffer.data());
        back += static_cast<long long>(n);
        at += 4 + n;
      }
    }
    ::close(fd);
    if (back != payload) state.SkipWithError("records lost");
  }
  ::unlink(path.c_str());
  state.SetBytesProcessed(2 * payload * static_cast<long long>(state.iterations()));
}

void BM_MvsVB(benchmark::State& state) {
  libraryRoundTrip(state, vyk::BaseRecordFile::RECFM_S370VB);
}
void BM_MvsVBS(benchmark::State& state) {
  libraryRoundTrip(state, vyk::BaseRecordFile::RECFM_S370VBS);
}
void BM_PlainLengthPrefixes(benchmark::State& state) {
  plainRoundTrip(state);
}

BENCHMARK(BM_PlainLengthPrefixes)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MvsVB)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MvsVBS)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
