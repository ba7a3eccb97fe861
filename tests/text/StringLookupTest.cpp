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

// The random comparison below covers these too (equal keys, wide states); here the rules as single
// cases: an abbreviation must be unique, an exact key beats an abbreviation, only ASCII letters fold.
TEST(StringLookup, WorkedProbes) {
  expectProbes(Table(false, {"cat", "car", "dog", "abc", "ab"}),
               {{"d", kUnique, 3}, {"d", kWhole, 0}, {"ca", kUnique, 0}, {"ab", kUnique, 5}});
  expectProbes(Table(true, {"SELECT", "\xC9T\xC9", "ABC", "abc"}),
               {{"sElEcT", kWhole, 1}, {"\xE9T\xE9", kUnique, 0}, {"aBc", kUnique, 3}});
}

// A key with a zero inside is found up to the zero only (a zero ends the text: the random comparison
// below has those); a table not yet compiled finds nothing.
TEST(StringLookup, ZerosAndUncompiledTables) {
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

// A compiled table is only read: many threads look up at once.
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
