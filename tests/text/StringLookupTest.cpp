// Keyword tables: the compiled trie, exact and abbreviated lookup, folding, and the result groups.
#include "vyk/util/StringLookup.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
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

TEST(StringLookup, CatCarDogCompileToTwoStates) {
  Table table(false, {"cat", "car", "dog"});
  ASSERT_EQ(3u, table.states().size());  // two states and the closing entry
  ASSERT_EQ(2u, table.rootState());
  std::vector<Lookup::Transition> root = table.edges(2);
  ASSERT_EQ(2u, root.size());
  EXPECT_EQ('c', root[0].ch);
  EXPECT_EQ("a", root[0].tail);
  EXPECT_EQ(1, root[0].target);
  EXPECT_EQ('d', root[1].ch);
  EXPECT_EQ("og", root[1].tail);
  EXPECT_EQ(~2L, root[1].target);
  std::vector<Lookup::Transition> inner = table.edges(1);
  ASSERT_EQ(2u, inner.size());
  EXPECT_EQ('r', inner[0].ch);
  EXPECT_EQ(~1L, inner[0].target);
  EXPECT_EQ('t', inner[1].ch);
  EXPECT_EQ(~0L, inner[1].target);
}

TEST(StringLookup, ExactAndAbbreviatedLookups) {
  expectProbes(Table(false, {"cat", "car", "dog"}), {{"dog", kWhole, 3},
                                                     {"dog", kUnique, 3},
                                                     {"d", kUnique, 3},
                                                     {"do", kUnique, 3},
                                                     {"c", kUnique, 0},
                                                     {"ca", kUnique, 0},
                                                     {"dogs", kUnique, 0},
                                                     {"eat", kUnique, 0},
                                                     {"d", kWhole, 0},
                                                     {"cat", kUnique, 1},
                                                     {"car", kWhole, 2},
                                                     {"cb", kUnique, 0},
                                                     {"Dog", kUnique, 0},
                                                     {"", kUnique, 0},
                                                     {"doh", kUnique, 0}});
  // An exact key beats an abbreviation of a longer key.
  expectProbes(
      Table(false, {"abc", "ab"}),
      {{"ab", kUnique, 2}, {"ab", kWhole, 2}, {"a", kUnique, 0}, {"abc", kUnique, 1}, {"abcd", kUnique, 0}});
  expectProbes(Table(false, {"name"}), {{"n", kUnique, 1},
                                        {"na", kUnique, 1},
                                        {"nam", kUnique, 1},
                                        {"name", kUnique, 1},
                                        {"nam", kWhole, 0},
                                        {"names", kUnique, 0},
                                        {"nb", kUnique, 0}});
}

TEST(StringLookup, OneKeyKeepsTheRootWithOneCompressedEdge) {
  Table table(false, {"name"});
  std::vector<Lookup::Transition> root = table.edges(table.rootState());
  ASSERT_EQ(1u, root.size());
  EXPECT_EQ('n', root[0].ch);
  EXPECT_EQ("ame", root[0].tail);
  EXPECT_EQ(~0L, root[0].target);
}

TEST(StringLookup, CaseInsensitiveFoldsOnlyAsciiLetters) {
  expectProbes(Table(true, {"SELECT", "SET", "\xC9T\xC9"}), {{"select", kUnique, 1},
                                                             {"sElEcT", kWhole, 1},
                                                             {"sel", kUnique, 1},
                                                             {"se", kUnique, 0},
                                                             {"Set", kWhole, 2},
                                                             {"\xC9t\xC9", kWhole, 3},
                                                             {"\xE9T\xE9", kUnique, 0},
                                                             {"\xC9", kUnique, 3}});
  Table lower(true, {"select", "set"});
  expectProbes(lower, {{"SELECT", kWhole, 1}, {"SeT", kUnique, 2}, {"SELE", kUnique, 1}});
  for (Lookup::Transition const& t : lower.transitions()) {
    EXPECT_FALSE(t.ch >= 'a' && t.ch <= 'z') << t.ch;
    EXPECT_EQ(std::string::npos, t.tail.find_first_of("abcdefghijklmnopqrstuvwxyz")) << t.tail;
  }
  // Case-sensitive tables leave 0xC9 and 0xE9 alone too.
  expectProbes(
      Table(false, {"\xE9t\xE9", "\xFF"}),
      {{"\xE9t\xE9", kWhole, 1}, {"\xC9T\xC9", kWhole, 0}, {"\xFF", kWhole, 2}, {"\xE9", kUnique, 1}});
}

// Lower-case keys with the bytes between 'Z' and 'a' fold so that raw order and folded order
// disagree ('_' < 'b' but 'B' < '_'); enough of them put 8 or more edges into one state.
TEST(StringLookup, KeysWithBytesBetweenTheAlphabetsAreFound) {
  std::vector<std::string> keys = {"a_", "ab", "a[", "a`",  "a^x", "a\\",
                                   "a]", "ac", "ad", "aez", "z_q", "zb"};
  for (bool caseInsensitive : {true, false}) {
    SCOPED_TRACE(caseInsensitive);
    Table table(caseInsensitive, keys);
    for (unsigned long i = 0; i < keys.size(); ++i) {
      SCOPED_TRACE(keys[i]);
      EXPECT_EQ(static_cast<long>(i + 1), table.findKeyIndex(keys[i], kWhole));
    }
    expectProbes(table, {{"a^", kUnique, 5}, {"ae", kUnique, 10}, {"z_", kUnique, 11}, {"z", kUnique, 0}});
    // Every state's edges ascend, so the binary search over 8 or more of them is sound.
    for (unsigned long s = 1; s <= table.rootState(); ++s) {
      std::vector<Lookup::Transition> edges = table.edges(s);
      for (unsigned long k = 1; k < edges.size(); ++k) EXPECT_LE(edges[k - 1].ch, edges[k].ch);
    }
  }
  // Mixed case in a case-insensitive table: sorted raw, "Aba" would come before "ab".
  expectProbes(
      Table(true, {"Aba", "ab", "AC"}),
      {{"ab", kWhole, 2}, {"ABA", kWhole, 1}, {"aba", kUnique, 1}, {"ac", kUnique, 3}, {"a", kUnique, 0}});
}

TEST(StringLookup, EqualKeysFindTheFirstAdded) {
  expectProbes(Table(false, {"x", "y", "x"}), {{"x", kWhole, 1}, {"y", kUnique, 2}});
  // Two end-of-key edges beside seven letters: a state searched by bisection.
  expectProbes(Table(false, {"ka", "kb", "kc", "kd", "ke", "kf", "kg", "k", "k"}),
               {{"k", kUnique, 8}, {"kd", kWhole, 4}, {"kh", kUnique, 0}});
  expectProbes(Table(true, {"ABC", "abc", "abd"}),
               {{"abc", kWhole, 1}, {"aBc", kUnique, 1}, {"ab", kUnique, 0}});
  // Two end-of-key edges beside 16 letters: a state searched through the dispatch.
  std::vector<std::string> wide;
  for (char c = 'a'; c <= 'p'; ++c) wide.push_back(std::string("w") + c);
  wide.push_back("w");
  wide.push_back("w");
  expectProbes(Table(false, wide), {{"w", kUnique, 17}, {"wp", kWhole, 16}, {"wq", kUnique, 0}});
  // Duplicates make every abbreviation of them ambiguous.
  expectProbes(Table(false, {"long", "long"}), {{"lon", kUnique, 0}, {"long", kUnique, 1}});
}

TEST(StringLookup, WholeKeysAroundThe8And16ByteSteps) {
  Table cs(false, {"abcdefgh", "abcdefghi", "abcdefghijklmnop", "abcdefghijklmnopq", "abcdefghi"});
  EXPECT_EQ(1, cs.findKeyIndex("abcdefgh", kWhole));
  EXPECT_EQ(2, cs.findKeyIndex("abcdefghi", kWhole));
  EXPECT_EQ(3, cs.findKeyIndex("abcdefghijklmnop", kWhole));
  EXPECT_EQ(4, cs.findKeyIndex("abcdefghijklmnopq", kWhole));
  EXPECT_EQ(0, cs.findKeyIndex("abcdefghij", kWhole));
  EXPECT_EQ(0, cs.findKeyIndex("abcdefghijklmnoq", kWhole));
  EXPECT_EQ(0, cs.findKeyIndex("ABCDEFGHI", kWhole));
  EXPECT_EQ(2, cs.findKeyIndex(StringView("abcdefghi\0xyz", 13), kWhole));
  EXPECT_EQ(1, cs.findKeyIndex(StringView("abcdefgh\0ijklmnop", 17), kWhole));
  EXPECT_EQ(0, cs.findKeyIndex(StringView("abcdefg\0", 8), kWhole));
  Table ci(true, {"Long_Keyword_Name", "LONG_KEYWORD_NAME", "caf\xC9_au_lait_noir"});
  EXPECT_EQ(1, ci.findKeyIndex("long_keyword_NAME", kWhole));
  EXPECT_EQ(0, ci.findKeyIndex("long_keyword_nam", kWhole));
  EXPECT_EQ(3, ci.findKeyIndex("CAF\xC9_AU_LAIT_NOIR", kWhole));
  EXPECT_EQ(0, ci.findKeyIndex("caf\xE9_au_lait_noir", kWhole));
}

TEST(StringLookup, BadInputGetsAnAnswerNotAnOverrun) {
  // A zero ends the text, though its length passes the length test.
  Table table(false, {"ab", "abcdef"});
  EXPECT_EQ(1, table.findKeyIndex(StringView("ab\0zz", 5), kWhole));
  EXPECT_EQ(0, table.findKeyIndex(StringView("ab\0zzzz", 7), kWhole));  // longer than every key
  EXPECT_EQ(2, table.findKeyIndex(StringView("abcd\0", 5), kUnique));
  EXPECT_EQ(0, table.findKeyIndex(StringView("\0b", 2), kUnique));
  // An empty key is stored but never found.
  expectProbes(Table(false, {"", "a"}), {{"", kWhole, 0}, {"a", kWhole, 2}});
  // A key with a zero inside is found up to the zero only, and the walk stays in the text.
  Table zero(false, {std::string("a\0b", 3), "q"});
  EXPECT_EQ(0, zero.findKeyIndex(StringView("a\0b", 3), kWhole));
  EXPECT_EQ(1, zero.findKeyIndex("a", kUnique));
  // No keys, or not yet compiled: nothing is found.
  EXPECT_EQ(0, Table(false, {}).findKeyIndex("a", kUnique));
  Lookup raw(csEnumClassParameters());
  raw.addKey("a");
  EXPECT_EQ(0, raw.findKeyIndex("a", kUnique));
}

TEST(StringLookup, KeysAddedAfterCompilingCountFromTheNextCompile) {
  Table table(false, {"alpha"});
  table.addKey("beta");
  EXPECT_EQ(0, table.findKeyIndex("beta", kWhole));
  table.makeTransitions();
  EXPECT_EQ(2, table.findKeyIndex("beta", kWhole));
  EXPECT_EQ(1, table.findKeyIndex("al", kUnique));
}

TEST(StringLookup, EmptyRangeOfStatesThrows) {
  Table table(false, {"a", "b"});
  try {
    table.makeTransitions(table.getSortedOrder(), 1, 1, 0);
    FAIL() << "no exception";
  } catch (InvalidArgumentException const& e) {
    EXPECT_EQ("s < e", e.message());
  }
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
  std::vector<int> failures(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 20; ++round)
        for (unsigned long i = 0; i < keys.size(); ++i)
          if (table.findKeyIndex(keys[i], t % 2 == 0 ? kUnique : kWhole) != static_cast<long>(i + 1))
            ++failures[t];
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(4, 0), failures);
}

TEST(StringLookupPermutation, ResizeKeepsAPermutation) {
  std::vector<std::string> items = {"e", "d", "c", "b", "a"};
  Lookup::Permutation order(5);
  order.sort(Lookup::PermutationComparator2<std::vector<std::string>>(&items));
  order.resize(3);
  ASSERT_EQ(3u, order.size());
  EXPECT_EQ(2u, order[0]);
  EXPECT_EQ(1u, order[1]);
  EXPECT_EQ(0u, order[2]);
  order.resize(5);
  EXPECT_EQ(3u, order[3]);
  EXPECT_EQ(4u, order[4]);
  EXPECT_EQ(0u, Lookup::Permutation().size());
}

TEST(StringLookupPermutation, ComparatorOrdersLikeStringCompare) {
  std::vector<std::string> items = {"ab", "abc", "b", std::string("a\0", 2), "a", "ab"};
  Lookup::PermutationComparator2<std::vector<std::string>> comparator(&items);
  struct Case {
    unsigned long i, j;
    bool less, equal;
  };
  Case const cases[] = {{0, 1, true, false}, {1, 0, false, false}, {1, 2, true, false}, {4, 3, true, false},
                        {3, 0, true, false}, {0, 5, false, true},  {2, 2, false, true}, {3, 4, false, false}};
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.i) + "," + std::to_string(c.j));
    EXPECT_EQ(c.less, comparator.isLessThan(c.i, c.j));
    EXPECT_EQ(c.equal, comparator.isEqualTo(c.i, c.j));
  }
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
    std::pair<char const*, int> const entries[] = {{"red", 1},  {"green", 2}, {"crimson", 1},
                                                   {"blue", 3}, {"ruby", 1},  {"lime", 2}};
    for (auto const& entry : entries) {
      addKey(entry.first);
      values.push_back(entry.second);
    }
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
  struct Case {
    int value;
    std::vector<unsigned long> keys;
  };
  Case const cases[] = {{1, {0, 2, 4}}, {2, {1, 5}}, {3, {3}}, {0, {}}, {4, {}}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.value);
    StringRange range = colours.find(c.value);
    std::vector<unsigned long> keys;
    for (unsigned long p = range.first; p < range.end; ++p) keys.push_back((*range.resultOrder)[p]);
    EXPECT_EQ(c.keys, keys);
    EXPECT_EQ(c.keys.empty() ? nullptr : &colours, range.lookup);
  }
  StringRange none = colours.find(9);
  EXPECT_EQ(nullptr, none.resultOrder);
  EXPECT_EQ(0u, none.first + none.end);
  EXPECT_EQ(3, colours.findKeyIndex("CRIM", Lookup::PREFIX_UNIQUE));
}

TEST(StringLookupResult, NoItemsMakeNoGroups) {
  Colours colours;
  Colours::ByValue byValue;
  byValue.v = &colours.values;
  colours.makeResultPermutationInternal(0, byValue);
  EXPECT_TRUE(colours.getGroupStarts().empty());
  EXPECT_EQ(0u, colours.getResultOrder().size());
  EXPECT_EQ(nullptr, colours.find(1).lookup);
}

TEST(StringLookupParameters, StandardConfigurations) {
  EXPECT_TRUE(ciEnumClassParameters().caseInsensitive);
  EXPECT_FALSE(csEnumClassParameters().caseInsensitive);
  EXPECT_EQ(&ciEnumClassParameters(), &ciEnumClassParameters());
}

}  // namespace
}  // namespace vyk
