// Case-insensitive comparison and hashing of short keys through the session implementation, against
// strcasecmp and std::hash of a lower-cased copy.
#include <benchmark/benchmark.h>
#include <strings.h>

#include <cctype>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "vyk/util/StringUtilsSessionEncoded.h"

namespace {

constexpr int kKeys = 1000000;

// Identifier-like keys of 4 to 16 bytes in mixed case; each key's partner differs only in case,
// except for every eighth, which differs in its last byte, so that both outcomes occur.
struct KeySet {
  std::vector<std::string> keys;
  std::vector<std::string> partners;
  KeySet() {
    std::mt19937 random(20240601);
    char const alphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    keys.reserve(kKeys);
    partners.reserve(kKeys);
    for (int i = 0; i < kKeys; ++i) {
      int length = 4 + static_cast<int>(random() % 13);
      std::string key;
      for (int j = 0; j < length; ++j) key += alphabet[random() % (sizeof alphabet - 1)];
      std::string partner = key;
      for (char& c : partner) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      if (i % 8 == 0) partner.back() = '#';  // not in the alphabet
      keys.push_back(key);
      partners.push_back(partner);
    }
  }
};

KeySet const& keySet() {
  static KeySet set;
  return set;
}

void CompareSession(benchmark::State& state) {
  KeySet const& k = keySet();
  for (auto _ : state) {
    long sum = 0;
    for (int i = 0; i < kKeys; ++i)
      sum += vyk::session_encoded::icompare(k.keys[i].c_str(), k.partners[i].c_str());
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

void CompareStrcasecmp(benchmark::State& state) {
  KeySet const& k = keySet();
  for (auto _ : state) {
    long sum = 0;
    for (int i = 0; i < kKeys; ++i) sum += strcasecmp(k.keys[i].c_str(), k.partners[i].c_str());
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

void HashSession(benchmark::State& state) {
  KeySet const& k = keySet();
  for (auto _ : state) {
    unsigned long sum = 0;
    for (int i = 0; i < kKeys; ++i) {
      sum += vyk::session_encoded::CaseInsensitiveStringHashKeyOps::hash(k.keys[i].c_str());
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

void HashLowerCopy(benchmark::State& state) {
  KeySet const& k = keySet();
  std::hash<std::string> hasher;
  for (auto _ : state) {
    std::size_t sum = 0;
    for (int i = 0; i < kKeys; ++i) {
      std::string lower = k.keys[i];
      for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      sum += hasher(lower);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

BENCHMARK(CompareSession)->Unit(benchmark::kMillisecond);
BENCHMARK(CompareStrcasecmp)->Unit(benchmark::kMillisecond);
BENCHMARK(HashSession)->Unit(benchmark::kMillisecond);
BENCHMARK(HashLowerCopy)->Unit(benchmark::kMillisecond);

}  // namespace
