// UTF-8 to UTF-16 and back: this library's converter beside ICU's ucnv and iconv, on the same texts.
//
// Texts: ASCII prose, mixed Latin/Cyrillic prose and CJK prose, VYK_BENCH_MB megabytes of UTF-8 each
// (100 by default). Only one text is held at a time.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "vyk/util/UnicodeConverter.h"

#if defined(VYK_BENCH_WITH_ICU)
#include <unicode/ucnv.h>
#endif

namespace {

using vyk::UnicodeConverter;
typedef std::basic_string<unsigned short> U16;

enum Kind { kAscii, kLatinCyrillic, kCjk };

std::size_t textBytes() {
  char const* mb = std::getenv("VYK_BENCH_MB");
  long n = mb ? std::atol(mb) : 100;
  return static_cast<std::size_t>(n > 0 ? n : 100) << 20;
}

void appendUtf8(std::string& out, unsigned int cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Prose-like text: words of 2 to 9 letters, blanks, punctuation and line ends.
std::string makeText(Kind kind, std::size_t bytes) {
  std::mt19937 rng(42);
  std::string out;
  out.reserve(bytes + 64);
  unsigned int const latin[] = {'a', 'e', 'i',  'o',  'u',  'n',  's', 't',
                                'r', 'l', 0xE9, 0xFC, 0xE4, 0xF1, 0xE7};
  while (out.size() < bytes) {
    int letters = 2 + static_cast<int>(rng() % 8);
    bool cyrillic = kind == kLatinCyrillic && rng() % 2 == 0;
    for (int i = 0; i < letters; ++i) {
      switch (kind) {
        case kAscii:
          out += static_cast<char>('a' + rng() % 26);
          break;
        case kLatinCyrillic:
          appendUtf8(out, cyrillic ? 0x430 + rng() % 32 : latin[rng() % (rng() % 4 == 0 ? 15 : 10)]);
          break;
        case kCjk:
          appendUtf8(out, 0x4E00 + rng() % 0x5000);
          break;
      }
    }
    unsigned int r = rng() % 16;
    if (kind == kCjk) {
      if (r == 0) appendUtf8(out, 0x3002);  // ideographic full stop
      if (r == 1) out += '\n';
    } else {
      out += r == 0 ? ". " : r == 1 ? ",\n" : " ";
    }
  }
  return out;
}

// The current text in both forms; a new kind replaces the old one.
struct Texts {
  Kind kind;
  std::string utf8;
  U16 utf16;
};
Texts& texts(Kind kind) {
  static Texts current{kAscii, std::string(), U16()};
  if (current.utf8.empty() || current.kind != kind) {
    current.utf8.clear();
    current.utf8.shrink_to_fit();
    current.kind = kind;
    current.utf8 = makeText(kind, textBytes());
    current.utf16 = UnicodeConverter::utf8ToUnicode()->toUnicode(current.utf8);
  }
  return current;
}

void toUtf16Vyk(benchmark::State& state, Kind kind) {
  Texts& t = texts(kind);
  vyk::IntrusivePointer<UnicodeConverter> utf8 = UnicodeConverter::utf8ToUnicode();
  std::vector<unsigned short> out(t.utf8.size());
  for (auto _ : state) {
    unsigned long n = utf8->toUnicode(t.utf8.data(), t.utf8.size(), out.data(), out.size());
    if (n != t.utf16.size()) state.SkipWithError("wrong length");
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.utf8.size()));
}

void toUtf8Vyk(benchmark::State& state, Kind kind) {
  Texts& t = texts(kind);
  vyk::IntrusivePointer<UnicodeConverter> utf8 = UnicodeConverter::utf8ToUnicode();
  std::vector<char> out(t.utf8.size());
  for (auto _ : state) {
    unsigned long n = utf8->fromUnicode(t.utf16.data(), t.utf16.size(), out.data(), out.size());
    if (n != t.utf8.size()) state.SkipWithError("wrong length");
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.utf8.size()));
}

// iconv with native little-endian UTF-16, as this library's units are on x86.
void runIconv(benchmark::State& state, char const* to, char const* from, char const* in, std::size_t inBytes,
              std::size_t expectedOut, std::size_t utf8Bytes) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    state.SkipWithError("iconv_open failed");
    return;
  }
  std::vector<char> out(inBytes * 2 + 16);
  for (auto _ : state) {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char* src = const_cast<char*>(in);
    std::size_t srcLeft = inBytes;
    char* dst = out.data();
    std::size_t dstLeft = out.size();
    iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    if (static_cast<std::size_t>(dst - out.data()) != expectedOut) state.SkipWithError("wrong length");
    benchmark::DoNotOptimize(out.data());
  }
  iconv_close(cd);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * utf8Bytes));
}

void toUtf16Iconv(benchmark::State& state, Kind kind) {
  Texts& t = texts(kind);
  runIconv(state, "UTF-16LE", "UTF-8", t.utf8.data(), t.utf8.size(), t.utf16.size() * 2, t.utf8.size());
}

void toUtf8Iconv(benchmark::State& state, Kind kind) {
  Texts& t = texts(kind);
  runIconv(state, "UTF-8", "UTF-16LE", reinterpret_cast<char const*>(t.utf16.data()), t.utf16.size() * 2,
           t.utf8.size(), t.utf8.size());
}

#if defined(VYK_BENCH_WITH_ICU)
void toUtf16Icu(benchmark::State& state, Kind kind) {
  Texts& t = texts(kind);
  UErrorCode error = U_ZERO_ERROR;
  UConverter* cnv = ucnv_open("UTF-8", &error);
  std::vector<UChar> out(t.utf8.size());
  for (auto _ : state) {
    ucnv_reset(cnv);
    error = U_ZERO_ERROR;
    UChar* dst = out.data();
    char const* src = t.utf8.data();
    ucnv_toUnicode(cnv, &dst, out.data() + out.size(), &src, src + t.utf8.size(), nullptr, true, &error);
    if (U_FAILURE(error) || static_cast<std::size_t>(dst - out.data()) != t.utf16.size())
      state.SkipWithError("ICU failed");
    benchmark::DoNotOptimize(out.data());
  }
  ucnv_close(cnv);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.utf8.size()));
}

void toUtf8Icu(benchmark::State& state, Kind kind) {
  Texts& t = texts(kind);
  UErrorCode error = U_ZERO_ERROR;
  UConverter* cnv = ucnv_open("UTF-8", &error);
  std::vector<char> out(t.utf8.size());
  for (auto _ : state) {
    ucnv_reset(cnv);
    error = U_ZERO_ERROR;
    char* dst = out.data();
    UChar const* src = reinterpret_cast<UChar const*>(t.utf16.data());
    ucnv_fromUnicode(cnv, &dst, out.data() + out.size(), &src, src + t.utf16.size(), nullptr, true, &error);
    if (U_FAILURE(error) || static_cast<std::size_t>(dst - out.data()) != t.utf8.size())
      state.SkipWithError("ICU failed");
    benchmark::DoNotOptimize(out.data());
  }
  ucnv_close(cnv);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.utf8.size()));
}
#endif

// Registered text by text, so that each text is made once.
int registerAll() {
  struct Named {
    char const* name;
    Kind kind;
  };
  Named const kinds[] = {{"Ascii", kAscii}, {"LatinCyrillic", kLatinCyrillic}, {"Cjk", kCjk}};
  for (Named const& k : kinds) {
    std::string n = k.name;
    benchmark::RegisterBenchmark(("Utf8ToUtf16/" + n + "/vyk").c_str(), toUtf16Vyk, k.kind);
#if defined(VYK_BENCH_WITH_ICU)
    benchmark::RegisterBenchmark(("Utf8ToUtf16/" + n + "/icu").c_str(), toUtf16Icu, k.kind);
#endif
    benchmark::RegisterBenchmark(("Utf8ToUtf16/" + n + "/iconv").c_str(), toUtf16Iconv, k.kind);
    benchmark::RegisterBenchmark(("Utf16ToUtf8/" + n + "/vyk").c_str(), toUtf8Vyk, k.kind);
#if defined(VYK_BENCH_WITH_ICU)
    benchmark::RegisterBenchmark(("Utf16ToUtf8/" + n + "/icu").c_str(), toUtf8Icu, k.kind);
#endif
    benchmark::RegisterBenchmark(("Utf16ToUtf8/" + n + "/iconv").c_str(), toUtf8Iconv, k.kind);
  }
  return 0;
}

int const registered = registerAll();

}  // namespace
