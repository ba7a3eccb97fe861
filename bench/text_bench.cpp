// Keyword lookup in a table of 2,000 keywords: the compiled trie against std::unordered_map (exact
// keys) and std::map::lower_bound (unique abbreviations), on the same keys and queries.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "vyk/util/StringLookup.h"

namespace {

// 2,000 distinct keywords of 3 to 14 lower-case letters and underscores, and for each the shortest
// abbreviation that fits it alone (the whole key when it is a prefix of another).
struct Keywords {
  std::vector<std::string> keys;
  std::vector<std::string> exactQueries;
  std::vector<std::string> abbreviations;

  Keywords() {
    std::mt19937 random(2000);
    std::set<std::string> seen;
    char const letters[] = "abcdefghijklmnopqrstuvwxyz_";
    while (keys.size() < 2000) {
      std::string key(3 + random() % 12, ' ');
      for (char& c : key) c = letters[random() % 26 + (random() % 16 == 0)];
      if (seen.insert(key).second) keys.push_back(key);
    }
    std::vector<std::string> sorted(seen.begin(), seen.end());
    for (std::string const& key : keys) {
      auto at = std::lower_bound(sorted.begin(), sorted.end(), key);
      std::size_t shared = 0;
      for (auto neighbour : {at - (at == sorted.begin() ? 0 : 1), at + (at + 1 == sorted.end() ? 0 : 1)}) {
        if (neighbour == at) continue;
        std::size_t n = 0;
        while (n < key.size() && n < neighbour->size() && key[n] == (*neighbour)[n]) ++n;
        shared = std::max(shared, n);
      }
      abbreviations.push_back(key.substr(0, std::min(key.size(), shared + 1)));
    }
    exactQueries = keys;
    std::shuffle(exactQueries.begin(), exactQueries.end(), random);
    std::shuffle(abbreviations.begin(), abbreviations.end(), random);
  }
};

Keywords const& keywords() {
  static Keywords const instance;
  return instance;
}

struct Trie : vyk::StringLookupBase {
  explicit Trie(bool caseInsensitive)
      : StringLookupBase(caseInsensitive ? vyk::ciEnumClassParameters() : vyk::csEnumClassParameters()) {
    for (std::string const& key : keywords().keys) addKey(key);
    makeTransitions();
  }
};

void trieLookup(benchmark::State& state, bool caseInsensitive, std::vector<std::string> const& queries,
                vyk::StringLookupBase::PrefixMatch prefixMatch) {
  Trie trie(caseInsensitive);
  long found = 0;
  for (auto _ : state) {
    for (std::string const& query : queries) found += trie.findKeyIndex(query, prefixMatch) != 0;
    benchmark::DoNotOptimize(found);
  }
  if (found != static_cast<long>(queries.size() * state.iterations()))
    state.SkipWithError("a key was missed");
  state.SetItemsProcessed(state.iterations() * queries.size());
}

void BM_ExactTrie(benchmark::State& state) {
  trieLookup(state, false, keywords().exactQueries, vyk::StringLookupBase::PREFIX_NONE);
}
void BM_ExactTrieCaseInsensitive(benchmark::State& state) {
  trieLookup(state, true, keywords().exactQueries, vyk::StringLookupBase::PREFIX_NONE);
}
void BM_AbbreviationTrie(benchmark::State& state) {
  trieLookup(state, false, keywords().abbreviations, vyk::StringLookupBase::PREFIX_UNIQUE);
}
void BM_AbbreviationTrieCaseInsensitive(benchmark::State& state) {
  trieLookup(state, true, keywords().abbreviations, vyk::StringLookupBase::PREFIX_UNIQUE);
}

void BM_ExactUnorderedMap(benchmark::State& state) {
  std::unordered_map<std::string, int> map;
  for (std::size_t i = 0; i < keywords().keys.size(); ++i)
    map.emplace(keywords().keys[i], static_cast<int>(i));
  long found = 0;
  for (auto _ : state) {
    for (std::string const& query : keywords().exactQueries) found += map.find(query) != map.end();
    benchmark::DoNotOptimize(found);
  }
  if (found != static_cast<long>(keywords().exactQueries.size() * state.iterations()))
    state.SkipWithError("a key was missed");
  state.SetItemsProcessed(state.iterations() * keywords().exactQueries.size());
}

// A unique abbreviation by lower_bound: the first key at or after the text must start with it,
// and unless it equals the text, the key after it must not.
int mapAbbreviation(std::map<std::string, int> const& map, std::string const& text) {
  auto at = map.lower_bound(text);
  if (at == map.end() || at->first.compare(0, text.size(), text) != 0) return -1;
  if (at->first.size() == text.size()) return at->second;
  auto next = std::next(at);
  if (next != map.end() && next->first.compare(0, text.size(), text) == 0) return -1;
  return at->second;
}

void BM_AbbreviationMapLowerBound(benchmark::State& state) {
  std::map<std::string, int> map;
  for (std::size_t i = 0; i < keywords().keys.size(); ++i)
    map.emplace(keywords().keys[i], static_cast<int>(i));
  long found = 0;
  for (auto _ : state) {
    for (std::string const& query : keywords().abbreviations) found += mapAbbreviation(map, query) >= 0;
    benchmark::DoNotOptimize(found);
  }
  if (found != static_cast<long>(keywords().abbreviations.size() * state.iterations()))
    state.SkipWithError("a key was missed");
  state.SetItemsProcessed(state.iterations() * keywords().abbreviations.size());
}

BENCHMARK(BM_ExactTrie);
BENCHMARK(BM_ExactUnorderedMap);
BENCHMARK(BM_ExactTrieCaseInsensitive);
BENCHMARK(BM_AbbreviationTrie);
BENCHMARK(BM_AbbreviationMapLowerBound);
BENCHMARK(BM_AbbreviationTrieCaseInsensitive);

}  // namespace
