// Keyword tables: a fixed set of keys compiled into a compressed trie, found exactly or by a unique
// abbreviation, case-sensitive or not, and the reverse map from result values back to their keys.
#ifndef VYK_UTIL_STRINGLOOKUP_H
#define VYK_UTIL_STRINGLOOKUP_H

#include <cstring>
#include <string>
#include <vector>

#include "vyk/util/Export.h"
#include "vyk/util/StringView.h"

namespace vyk {

// Maps keys to the position at which each was added. Two phases: addKey() for every key, then
// makeTransitions() once; after that findKeyIndex() only reads, so a compiled table may be shared
// by many threads. Building is for one thread.
//
//   StringLookupBase table(csEnumClassParameters());
//   table.addKey("cat"); table.addKey("car"); table.addKey("dog");
//   table.makeTransitions();
//   table.findKeyIndex("do", StringLookupBase::PREFIX_UNIQUE);   // 3: key 2, plus 1
//
// Case-insensitive tables fold only the 26 ASCII letters (a-z to A-Z), in every session encoding.
// They order their keys by that folded form, so keys of any case, and keys holding the bytes
// between 'Z' and 'a' ([ \ ] ^ _ `), are found; keys equal after folding behave as duplicates.
class VYK_EXPORT StringLookupBase {
 public:
  struct Parameters {
    constexpr explicit Parameters(bool caseInsensitive) : caseInsensitive(caseInsensitive) {}
    bool caseInsensitive;
  };

  // PREFIX_UNIQUE (1) accepts an abbreviation that fits exactly one key; any other value accepts
  // whole keys only.
  enum PrefixMatch { PREFIX_NONE = 0, PREFIX_UNIQUE = 1 };

  // One edge of the trie. target > 0: number of the state reached; target < 0: ~keyIndex, the edge
  // ends in that key. ch is 0 on an edge that ends a key; tail holds further bytes that must follow ch.
  struct Transition {
    Transition() : ch(0), target(0) {}
    explicit Transition(long keyIndex) : ch(0), target(~keyIndex) {}
    Transition(char c, long state) : ch(static_cast<unsigned char>(c)), target(state) {}

    unsigned char ch;
    std::string tail;
    long target;
  };

  // Index in the transition table of a state's first transition.
  struct State {
    explicit State(unsigned long first) : first(first) {}
    unsigned long first;
  };

  // Orders items by index: isLessThan(i, j) and isEqualTo(i, j) compare the items i and j.
  class VYK_EXPORT Comparator2 {
   public:
    virtual ~Comparator2();
    virtual bool isLessThan(unsigned long i, unsigned long j) const = 0;
    virtual bool isEqualTo(unsigned long i, unsigned long j) const = 0;
  };

  // Bytewise order of the strings of a container, as std::string::compare: memcmp over the shorter
  // length, then the shorter first. The container must outlive the comparator.
  template <typename Container>
  class PermutationComparator2 : public Comparator2 {
   public:
    explicit PermutationComparator2(Container const* items) : items_(items) {}
    bool isLessThan(unsigned long i, unsigned long j) const override {
      return (*items_)[i].compare((*items_)[j]) < 0;
    }
    bool isEqualTo(unsigned long i, unsigned long j) const override {
      auto const& a = (*items_)[i];
      auto const& b = (*items_)[j];
      return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size()) == 0;
    }

   private:
    Container const* items_;
  };

  // Compares a sought value, held by the derived class, with item i.
  class VYK_EXPORT Comparator1 {
   public:
    virtual ~Comparator1();
    // True when the sought value sorts before item i.
    virtual bool isLessThan(unsigned long i) const = 0;
    virtual bool isEqualTo(unsigned long i) const = 0;
  };

  // A permutation of 0 to size() - 1, the identity when made.
  class VYK_EXPORT Permutation {
   public:
    Permutation() {}
    explicit Permutation(unsigned long n);
    unsigned long operator[](unsigned long i) const { return order_[i]; }
    unsigned long size() const { return order_.size(); }
    bool empty() const { return order_.empty(); }
    // Growing appends the identity tail n0 .. n-1; shrinking drops every value >= n and keeps the
    // order of the others. The result is always a permutation of 0 .. n-1.
    void resize(unsigned long n);
    void clear() { order_.clear(); }
    // Stable sort by comparator: equal items keep their present order.
    void sort(Comparator2 const& comparator);

   private:
    std::vector<unsigned long> order_;
  };

  explicit StringLookupBase(Parameters const& parameters);
  virtual ~StringLookupBase();

  // Copies key to the end of the key list; its index is the number of keys before it. No duplicate
  // check is made. A key should hold no zero byte: a text ends at its first zero, so the part of a
  // key after a zero can never be matched.
  void addKey(StringView const& key);

  // The compile step: must follow the last addKey() and precede the first findKeyIndex(). A second
  // call compiles all keys afresh.
  void makeTransitions();

  // The index of the key plus 1, or 0 when no key fits or an abbreviation fits several. An exact key
  // beats an abbreviation of a longer one; of equal keys the first added is found. An empty text, or
  // one longer than the longest key, gives 0. The text ends at its first zero byte. Throws nothing
  // and allocates nothing.
  long findKeyIndex(StringView const& text, PrefixMatch prefixMatch) const noexcept;

  bool isCaseInsensitive() const { return caseInsensitive_; }
  std::vector<std::string> const& keys() const { return keys_; }
  Permutation const& getSortedOrder() const { return sortedOrder; }
  std::vector<State> const& states() const { return states_; }
  std::vector<Transition> const& transitions() const { return transitions_; }
  unsigned long maxKeyLength() const { return maxKeyLength_; }
  // Number of the root state, 0 before the first makeTransitions() or without keys.
  unsigned long rootState() const;

 protected:
  // Builds the state for the keys at positions s .. e-1 of sortedOrder, which share their first len
  // bytes (after folding), and returns its number of transitions. Throws InvalidArgumentException
  // "s < e" for an empty range.
  unsigned long makeTransitions(Permutation const& sortedOrder, unsigned long s, unsigned long e,
                                unsigned long len);

  bool caseInsensitive_;
  std::vector<std::string> keys_;
  // Key indices in key order: bytewise, and in a case-insensitive table bytewise after folding;
  // equal keys in the order added.
  Permutation sortedOrder;
  std::vector<State> states_;
  std::vector<Transition> transitions_;
  unsigned long maxKeyLength_;

 private:
  // A state as the walk reads it: its edges and, for a wide state, a byte-indexed dispatch block.
  struct SearchState {
    unsigned long first;
    unsigned long count;
    long dispatch;  // offset of the state's 256 entries in dispatch_, or -1
  };
  // A transition as the walk reads it, its tail held in tailBytes_.
  struct WalkEdge {
    long target;
    unsigned long tailOffset;
    unsigned long tailLength;
  };

  // A slot of the exact-key index: an open-addressing hash table of the distinct keys (after
  // folding), each with the index of the first key added that way.
  // Keys of up to 16 bytes stand in the slot itself, packed (folded) into lo and hi; longer ones in
  // exactBytes_.
  struct ExactSlot {
    unsigned long long tag;  // the hash's high 32 bits, then the key's length plus 1; 0: empty slot
    unsigned long long lo;
    unsigned long long hi;
    unsigned int key;     // key index
    unsigned int offset;  // of a long key's (folded) bytes in exactBytes_
  };

  template <bool Fold>
  long find(char const* text, unsigned long length, PrefixMatch prefixMatch) const noexcept;
  template <bool Fold>
  long findExact(char const* text, unsigned long length) const noexcept;
  // Builds the exact-key index, or leaves it empty when the walk must decide (a key holds a zero).
  void makeExactIndex();
  // Derives the search index below from states_ and transitions_.
  void makeSearchIndex();

  // The search index, rebuilt by every compile: one entry per entry of states_, the edge bytes and
  // the compact edges in transition order, all tails in one string, and for each state with many edges the
  // position of the first edge of each byte (0xFFFF for none), so that equal keys still give the first added.
  std::vector<SearchState> search_;
  std::vector<unsigned char> edgeBytes_;
  std::vector<WalkEdge> walk_;
  std::string tailBytes_;
  std::vector<unsigned short> dispatch_;
  bool keysHoldZero_ = false;
  // The exact-key index, consulted instead of the walk when only whole keys are accepted; empty
  // (exactMask_ 0) when the walk must serve them too.
  std::vector<ExactSlot> exact_;
  std::string exactBytes_;
  unsigned long exactMask_ = 0;
};

class StringLookupResultBase;

// Positions [first, end) of resultOrder_ that hold one result value; all zero when empty.
struct StringRange {
  StringLookupResultBase const* lookup;
  StringLookupBase::Permutation const* resultOrder;
  unsigned long first;
  unsigned long end;
};

// Adds the reverse direction: the keys that share one result value, by binary search over groups
// of equal results. The typed layer calls makeResultPermutationInternal() once the results are known.
class VYK_EXPORT StringLookupResultBase : public StringLookupBase {
 public:
  explicit StringLookupResultBase(Parameters const& parameters);
  ~StringLookupResultBase() override;

  // Sorts the items 0 .. n-1 stably by comparator and records where each run of equal items starts.
  void makeResultPermutationInternal(unsigned long n, Comparator2 const& comparator);
  // The number of the group equal to the sought value, or the number of groups if there is none.
  unsigned long toFirstStringInternal(Comparator1 const& comparator) const;
  // The positions in resultOrder_ of all items equal to the sought value, in the order added.
  StringRange toStringsInternal(Comparator1 const& comparator) const;

  Permutation const& getResultOrder() const { return resultOrder_; }
  std::vector<unsigned long> const& getGroupStarts() const { return groupStarts_; }

 protected:
  Permutation resultOrder_;
  std::vector<unsigned long> groupStarts_;
};

// Process-wide parameters of the two standard configurations: case-insensitive and case-sensitive.
VYK_EXPORT StringLookupBase::Parameters const& ciEnumClassParameters();
VYK_EXPORT StringLookupBase::Parameters const& csEnumClassParameters();

}  // namespace vyk

#endif
