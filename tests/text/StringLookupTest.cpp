// Keyword tables: the compiled trie, exact and abbreviated lookup, folding, and the result groups.
#include "vyk/util/StringLookup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "vyk/util/Exception.h"

namespace vyk {
namespace {

using Lookup = StringLookupBase;
Lookup::PrefixMatch const kUnique = Lookup::PREFIX_UNIQUE;
Lookup::PrefixMatch const kWhole = Lookup::PREFIX_NONE;

// A table of the given keys, compiled.
struct Table : Lookup {
  Table(bool caseInsensitive, std::vector<std::string> const& keys)
      : Lookup(caseInsensitive ? ciEnumClassParameters() : csEnumClassParameters()) {
    for (std::string const& key : keys) addKey(key);
    makeTransitions();
  }
  using Lookup::makeTransitions;
  // The transitions of state number s.
  std::vector<Transition> edges(unsigned long s) const {
    return std::vector<Transition>(transitions_.begin() + states_[s - 1].first,
                                   transitions_.begin() + states_[s].first);
  }
};

struct Probe {
  char const* text;
  Lookup::PrefixMatch prefix;
  long expected;
};

void expectProbes(Table const& table, std::vector<Probe> const& probes) {
  for (Probe const& probe : probes) {
    SCOPED_TRACE(std::string("text '") + probe.text + "' prefix " + std::to_string(probe.prefix));
    EXPECT_EQ(probe.expected, table.findKeyIndex(probe.text, probe.prefix));
  }
}

// Edges as "ch tail target", per state.
std::string edgesOf(Table const& table, unsigned long s) {
  std::string out;
  for (Lookup::Transition const& t : table.edges(s))
    out += std::string(1, t.ch) + t.tail + " " + std::to_string(t.target) + ";";
  return out;
}

TEST(StringLookup, KeysCompileToCompressedStates) {
  Table table(false, {"cat", "car", "dog"});
  ASSERT_EQ(3u, table.states().size());  // two states and the closing entry
  ASSERT_EQ(2u, table.rootState());
  EXPECT_EQ("ca 1;dog -3;", edgesOf(table, 2));
  EXPECT_EQ("r -2;t -1;", edgesOf(table, 1));
  Table one(false, {"name"});
  EXPECT_EQ("name -1;", edgesOf(one, one.rootState()));
}

// The random comparison below covers these too; here the rules as single cases: an exact key beats an
// abbreviation, only ASCII letters fold, equal keys find the first added (beside 7 letters, found by
// bisection, and beside 16, by byte dispatch).
TEST(StringLookup, WorkedProbes) {
  std::vector<std::string> wide = {"w", "w"};
  for (char c = 'a'; c <= 'p'; ++c) wide.push_back(std::string("w") + c);
  expectProbes(Table(false, {"cat", "car", "dog", "abc", "ab"}), {{"d", kUnique, 3},
                                                                  {"ca", kUnique, 0},
                                                                  {"dogs", kUnique, 0},
                                                                  {"d", kWhole, 0},
                                                                  {"", kUnique, 0},
                                                                  {"ab", kUnique, 5},
                                                                  {"a", kUnique, 0}});
  expectProbes(Table(true, {"SELECT", "SET", "\xC9T\xC9", "ABC", "abc"}), {{"sElEcT", kWhole, 1},
                                                                           {"se", kUnique, 0},
                                                                           {"\xC9t\xC9", kWhole, 3},
                                                                           {"\xE9T\xE9", kUnique, 0},
                                                                           {"aBc", kUnique, 4}});
  expectProbes(Table(false, {"ka", "kb", "kc", "kd", "ke", "kf", "kg", "k", "k"}), {{"k", kUnique, 8}});
  expectProbes(Table(false, wide), {{"w", kUnique, 1}, {"wp", kWhole, 18}});
}

// Lower-case keys with the bytes between 'Z' and 'a' fold so that raw order and folded order
// disagree ('_' < 'b' but 'B' < '_'); enough of them put 8 or more edges into one state, whose
// edges must still ascend for the binary search.
TEST(StringLookup, EdgesAscendWithBytesBetweenTheAlphabets) {
  for (bool caseInsensitive : {true, false}) {
    Table table(caseInsensitive, {"a_", "ab", "a[", "a`", "a^x", "a\\", "a]", "ac", "ad", "aez"});
    for (unsigned long s = 1; s <= table.rootState(); ++s) {
      std::vector<Lookup::Transition> edges = table.edges(s);
      for (unsigned long k = 1; k < edges.size(); ++k) EXPECT_LE(edges[k - 1].ch, edges[k].ch);
    }
  }
}

// A zero ends the text (the random comparison below has more of these), also past a 16-byte step; a key
// with a zero inside is found up to the zero only; a table not yet compiled finds nothing.
TEST(StringLookup, ZerosAndUncompiledTables) {
  Table table(false, {"ab", "abcdefghijklmnopq"});
  EXPECT_EQ(1, table.findKeyIndex(StringView("ab\0zz", 5), kWhole));
  EXPECT_EQ(0, table.findKeyIndex(StringView("ab\0zzzzzzzzzzzzzzzzzz", 21), kWhole));  // too long
  EXPECT_EQ(2, table.findKeyIndex(StringView("abcdefghij\0", 11), kUnique));
  EXPECT_EQ(0, Table(false, {std::string("a\0b", 3), "q"}).findKeyIndex(StringView("a\0b", 3), kWhole));
  Lookup raw(csEnumClassParameters());
  raw.addKey("a");
  EXPECT_EQ(0, raw.findKeyIndex("a", kUnique));
}

TEST(StringLookup, EmptyRangeOfStatesThrows) {
  Table table(false, {"a", "b"});
  EXPECT_THROW(table.makeTransitions(table.getSortedOrder(), 1, 1, 0), InvalidArgumentException);
}

// Brute force: the exact key first added, else with PREFIX_UNIQUE the one key that the text is a
// proper prefix of; a text ends at its first zero.
long oracle(std::vector<std::string> const& keys, std::string text, bool fold, bool unique,
            unsigned long maxLength) {
  if (text.empty() || text.size() > maxLength) return 0;
  text = text.substr(0, text.find('\0'));
  auto folded = [fold](std::string s) {
    if (fold)
      for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return s;
  };
  std::string t = folded(text);
  for (unsigned long i = 0; i < keys.size(); ++i)
    if (folded(keys[i]) == t) return static_cast<long>(i + 1);
  if (!unique || t.empty()) return 0;
  long found = 0;
  int count = 0;
  for (unsigned long i = 0; i < keys.size(); ++i) {
    std::string k = folded(keys[i]);
    if (k.size() > t.size() && k.compare(0, t.size(), t) == 0) {
      ++count;
      found = static_cast<long>(i + 1);
    }
  }
  return count == 1 ? found : 0;
}

TEST(StringLookup, AgreesWithBruteForceOnRandomTables) {
  std::mt19937 random(20240611);
  // A narrow alphabet gives deep tables with many shared prefixes; the wide one gives states of 16
  // edges and more, which are searched through a byte-indexed dispatch.
  std::string const narrow = "abAB_[`^z\xE9\xC9";
  std::string const wide = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`0123456789\xE9\xC9";
  std::string alphabet;
  auto word = [&](int maxLength) {
    std::string s(random() % (maxLength + 1), ' ');
    for (char& c : s) c = alphabet[random() % alphabet.size()];
    return s;
  };
  for (int round = 0; round < 400; ++round) {
    bool fold = round % 2 == 0;
    alphabet = round % 4 < 2 ? narrow : wide;
    std::vector<std::string> keys;
    unsigned long maxLength = 0;
    // Keys of up to 6 bytes, or in every third round up to 40, around the 8- and 16-byte steps in
    // which exact lookup reads a text.
    int const longest = round % 3 == 2 ? 40 : 6;
    for (int k = 0, n = 1 + random() % (round % 4 < 2 ? 40 : 300); k < n; ++k) {
      keys.push_back(word(longest));
      maxLength = std::max<unsigned long>(maxLength, keys.back().size());
    }
    Table table(fold, keys);
    for (int probe = 0; probe < 200; ++probe) {
      std::string text = probe < static_cast<int>(keys.size())
                             ? keys[probe].substr(0, random() % (longest + 1))
                             : word(longest + 1);
      // A zero ends the text, also when bytes follow it.
      if (probe % 17 == 0) text += std::string(1, '\0') + word(probe % 2 == 0 ? 0 : 9);
      for (bool unique : {false, true}) {
        ASSERT_EQ(oracle(keys, text, fold, unique, maxLength),
                  table.findKeyIndex(text, unique ? kUnique : kWhole))
            << "round " << round << " text '" << text << "' unique " << unique;
      }
    }
  }
}

TEST(StringLookup, CompiledTableServesManyThreads) {
  std::vector<std::string> keys;
  for (int i = 0; i < 500; ++i) keys.push_back("key" + std::to_string(i * 7919));
  Table table(true, keys);
  std::atomic<int> failures(0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (unsigned long i = 0; i < 20 * keys.size(); ++i)
        failures +=
            table.findKeyIndex(keys[i % 500], t % 2 ? kUnique : kWhole) != static_cast<long>(i % 500 + 1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, failures.load());
}

// The typed layer in miniature: keys paired with int results.
struct Colours : StringLookupResultBase {
  std::vector<int> values;
  struct ByValue : Comparator2 {
    std::vector<int> const* v;
    bool isLessThan(unsigned long i, unsigned long j) const override { return (*v)[i] < (*v)[j]; }
    bool isEqualTo(unsigned long i, unsigned long j) const override { return (*v)[i] == (*v)[j]; }
  };
  struct Sought : Comparator1 {
    std::vector<int> const* v;
    int value;
    bool isLessThan(unsigned long i) const override { return value < (*v)[i]; }
    bool isEqualTo(unsigned long i) const override { return value == (*v)[i]; }
  };
  Colours() : StringLookupResultBase(ciEnumClassParameters()) {
    for (char const* key : {"red", "green", "crimson", "blue", "ruby", "lime"}) addKey(key);
    values = {1, 2, 1, 3, 1, 2};
    makeTransitions();
    ByValue byValue;
    byValue.v = &values;
    makeResultPermutationInternal(values.size(), byValue);
  }
  StringRange find(int value) const {
    Sought sought;
    sought.v = &values;
    sought.value = value;
    return toStringsInternal(sought);
  }
};

TEST(StringLookupResult, KeysOfOneValueComeInTheOrderAdded) {
  Colours colours;
  EXPECT_EQ((std::vector<unsigned long>{0, 3, 5}), colours.getGroupStarts());
  // A value and its keys in result order.
  std::tuple<int, std::vector<unsigned long>> const cases[] = {
      {1, {0, 2, 4}}, {2, {1, 5}}, {3, {3}}, {0, {}}, {4, {}}};
  for (auto const& [value, expected] : cases) {
    SCOPED_TRACE(value);
    StringRange range = colours.find(value);
    std::vector<unsigned long> keys;
    for (unsigned long p = range.first; p < range.end; ++p) keys.push_back((*range.resultOrder)[p]);
    EXPECT_EQ(expected, keys);
    EXPECT_EQ(expected.empty() ? nullptr : &colours, range.lookup);
  }
}

}  // namespace
}  // namespace vyk
