// Compiling keyword tables into a compressed trie and walking it; the result groups of the reverse map.
#include "vyk/util/StringLookup.h"

#include <algorithm>
#include <cstring>

#include "vyk/util/Exception.h"

namespace vyk {

namespace {

// The case fold of the lookup tables: the identity with a-z mapped to A-Z, whatever the session
// encoding says. Built once, on first use; static initialisation of a local is thread-safe.
unsigned char const* foldTable() {
  struct Table {
    Table() {
      for (int i = 0; i < 256; ++i) bytes[i] = static_cast<unsigned char>(i);
      for (int c = 'a'; c <= 'z'; ++c) bytes[c] = static_cast<unsigned char>(c - 'a' + 'A');
    }
    unsigned char bytes[256];
  };
  static Table const table;
  return table.bytes;
}

// Bytewise order after folding, then the shorter first: the order in which a case-insensitive
// table's walk meets the keys, so that runs of equal folded bytes are contiguous and each state's
// edges ascend. Raw order would put "a_" before "ab" though 'B' < '_' once folded.
class FoldedKeyComparator : public StringLookupBase::Comparator2 {
 public:
  FoldedKeyComparator(std::vector<std::string> const* keys, unsigned char const* fold)
      : keys_(keys), fold_(fold) {}
  bool isLessThan(unsigned long i, unsigned long j) const override { return compare(i, j) < 0; }
  bool isEqualTo(unsigned long i, unsigned long j) const override { return compare(i, j) == 0; }

 private:
  int compare(unsigned long i, unsigned long j) const {
    std::string const& a = (*keys_)[i];
    std::string const& b = (*keys_)[j];
    unsigned long n = std::min(a.size(), b.size());
    for (unsigned long k = 0; k < n; ++k) {
      int d = fold_[static_cast<unsigned char>(a[k])] - fold_[static_cast<unsigned char>(b[k])];
      if (d != 0) return d;
    }
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
  }

  std::vector<std::string> const* keys_;
  unsigned char const* fold_;
};

// The lookup's view of a key byte: folded in a case-insensitive table, else as it is.
inline unsigned char keyByte(std::string const& key, unsigned long pos, unsigned char const* fold) {
  unsigned char c = static_cast<unsigned char>(key[pos]);
  return fold ? fold[c] : c;
}

// A comparator that sorts through a Permutation: std::stable_sort needs a plain predicate.
struct LessThan {
  StringLookupBase::Comparator2 const* comparator;
  bool operator()(unsigned long i, unsigned long j) const { return comparator->isLessThan(i, j); }
};

// The exact-key index reads a text 8 bytes at a time, little end first.
constexpr bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
constexpr unsigned long long kOnes = 0x0101010101010101ull;
// Texts and keys up to this length are packed into two words and compared as such.
constexpr unsigned long kPackedLength = 16;

inline unsigned long long load8(char const* p) {
  unsigned long long w;
  std::memcpy(&w, p, 8);
  return w;
}

inline unsigned long long load4(char const* p) {
  unsigned int w;
  std::memcpy(&w, p, 4);
  return w;
}

// The position of the first zero byte of w, or 8. Of the flags below only the lowest is exact (a
// borrow can flag a byte above a zero), and it is the one taken.
inline unsigned long firstZeroByte(unsigned long long w) {
  unsigned long long const zero = (w - kOnes) & ~w & (0x80 * kOnes);
  return zero != 0 ? static_cast<unsigned long>(__builtin_ctzll(zero)) / 8 : 8;
}

// The fold of the lookup tables on 8 bytes at once: a-z become A-Z, every other byte (0x80 and up
// included) stays.
inline unsigned long long foldWord(unsigned long long w) {
  unsigned long long const low7 = w & (0x7F * kOnes);
  unsigned long long const fromA = low7 + (0x80 - 'a') * kOnes;      // high bit: low7 >= 'a'
  unsigned long long const pastZ = low7 + (0x80 - 'z' - 1) * kOnes;  // high bit: low7 > 'z'
  unsigned long long const lower = fromA & ~pastZ & ~w & (0x80 * kOnes);
  return w ^ (lower >> 2);  // 0x80 >> 2 is the case bit 0x20
}

// Packs the first n bytes of text (n at most kPackedLength), folded when Fold is set, into lo and hi,
// byte i at bits 8i of lo and byte 8+i at bits 8i of hi, zero above. Reads no byte outside the n. The
// text ends at a zero byte: returns the number of bytes before it (n without one), the words then
// holding only those.
template <bool Fold>
inline unsigned long packShort(char const* text, unsigned long n, unsigned long long& lo,
                               unsigned long long& hi) {
  if (n >= 8) {
    lo = load8(text);
    hi = n > 8 ? load8(text + n - 8) >> (8 * (16 - n)) : 0;
  } else if (n >= 4) {
    lo = load4(text) | load4(text + n - 4) << (8 * (n - 4));  // the two halves overlap for n < 8
    hi = 0;
  } else if (n > 0) {
    auto byte = [text](unsigned long i) {
      return static_cast<unsigned long long>(static_cast<unsigned char>(text[i]));
    };
    lo = byte(0) | byte(n / 2) << (8 * (n / 2)) | byte(n - 1) << (8 * (n - 1));
    hi = 0;
  } else {
    lo = hi = 0;
    return 0;
  }
  // The padding is zero too, so a first zero at or past n is no zero of the text.
  unsigned long zero = firstZeroByte(lo);
  if (zero == 8) zero += firstZeroByte(hi);
  if (zero < n) {
    n = zero;
    if (n < 8) {
      lo &= (1ull << (8 * n)) - 1;
      hi = 0;
    } else {
      hi &= (1ull << (8 * (n - 8))) - 1;
    }
  }
  if (Fold) {
    lo = foldWord(lo);
    hi = foldWord(hi);
  }
  return n;
}

// Spreads every input bit over the low bits, which pick the slot, and the high bits, which tag it.
inline unsigned long long mix(unsigned long long h) {
  h ^= h >> 32;
  h *= 0xbf58476d1ce4e5b9ull;
  return h ^ (h >> 29);
}

inline unsigned long long hashPacked(unsigned long long lo, unsigned long long hi, unsigned long n) {
  return mix((lo * 0x9E3779B97F4A7C15ull) ^ (hi * 0xC2B2AE3D27D4EB4Full) ^ n);
}

// The hash of a text longer than kPackedLength, which holds no zero byte, folded when Fold is set.
template <bool Fold>
inline unsigned long long hashLong(char const* text, unsigned long n, unsigned char const* fold) {
  unsigned long long h = 0xcbf29ce484222325ull;
  for (unsigned long i = 0; i < n; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    h = (h ^ (Fold ? fold[c] : c)) * 0x100000001b3ull;
  }
  return mix(h);
}

// The slot tag: the hash's high half and the length plus 1, so that no key's tag is 0.
inline unsigned long long slotTag(unsigned long long hash, unsigned long n) {
  return (hash & 0xFFFFFFFF00000000ull) | (n + 1);
}

// Whether the n bytes of text, folded when Fold is set, equal the n bytes of a stored key (which
// the index holds folded already).
template <bool Fold>
inline bool sameBytes(char const* text, char const* key, unsigned long n, unsigned char const* fold) {
  if (!Fold) return std::memcmp(text, key, n) == 0;
  for (unsigned long i = 0; i < n; ++i) {
    if (fold[static_cast<unsigned char>(text[i])] != static_cast<unsigned char>(key[i])) return false;
  }
  return true;
}

StringLookupBase::Parameters const caseInsensitiveParameters(true);
StringLookupBase::Parameters const caseSensitiveParameters(false);

}  // namespace

StringLookupBase::Parameters const& ciEnumClassParameters() {
  return caseInsensitiveParameters;
}
StringLookupBase::Parameters const& csEnumClassParameters() {
  return caseSensitiveParameters;
}

StringLookupBase::Comparator2::~Comparator2() {}
StringLookupBase::Comparator1::~Comparator1() {}

StringLookupBase::Permutation::Permutation(unsigned long n) {
  resize(n);
}

void StringLookupBase::Permutation::resize(unsigned long n) {
  if (n >= order_.size()) {
    order_.reserve(n);
    for (unsigned long i = order_.size(); i < n; ++i) order_.push_back(i);
    return;
  }
  order_.erase(std::remove_if(order_.begin(), order_.end(), [n](unsigned long v) { return v >= n; }),
               order_.end());
}

void StringLookupBase::Permutation::sort(Comparator2 const& comparator) {
  std::stable_sort(order_.begin(), order_.end(), LessThan{&comparator});
}

StringLookupBase::StringLookupBase(Parameters const& parameters)
    : caseInsensitive_(parameters.caseInsensitive), maxKeyLength_(0) {}

StringLookupBase::~StringLookupBase() {}

void StringLookupBase::addKey(StringView const& key) {
  keys_.push_back(key.str());
  maxKeyLength_ = std::max(maxKeyLength_, key.length());
}

unsigned long StringLookupBase::rootState() const {
  return states_.empty() ? 0 : states_.size() - 1;
}

void StringLookupBase::makeTransitions() {
  sortedOrder.clear();
  sortedOrder.resize(keys_.size());
  if (!keys_.empty()) {
    if (caseInsensitive_) {
      sortedOrder.sort(FoldedKeyComparator(&keys_, foldTable()));
    } else {
      sortedOrder.sort(PermutationComparator2<std::vector<std::string>>(&keys_));
    }
    makeTransitions(sortedOrder, 0, keys_.size(), 0);
  }
  states_.push_back(State(transitions_.size()));
  makeSearchIndex();
}

void StringLookupBase::makeSearchIndex() {
  // A dispatch block costs 512 bytes; from 16 edges on, the edges themselves cost more.
  unsigned long const dispatchFrom = 16;
  unsigned short const none = 0xFFFF;
  search_.assign(states_.size(), SearchState{0, 0, -1});
  edgeBytes_.clear();
  walk_.clear();
  tailBytes_.clear();
  dispatch_.clear();
  for (Transition const& t : transitions_) {
    edgeBytes_.push_back(t.ch);
    walk_.push_back(WalkEdge{t.target, tailBytes_.size(), t.tail.size()});
    tailBytes_ += t.tail;
  }
  for (unsigned long s = 1; s < states_.size(); ++s) {
    SearchState& state = search_[s];
    state.first = states_[s - 1].first;
    state.count = states_[s].first - state.first;
    if (state.count < dispatchFrom || state.count >= none) continue;
    state.dispatch = static_cast<long>(dispatch_.size());
    dispatch_.resize(dispatch_.size() + 256, none);
    unsigned short* block = dispatch_.data() + state.dispatch;
    for (unsigned long k = state.count; k-- > 0;)
      block[edgeBytes_[state.first + k]] = static_cast<unsigned short>(k);
  }
  keysHoldZero_ = false;
  for (std::string const& key : keys_) keysHoldZero_ = keysHoldZero_ || key.find('\0') != std::string::npos;
  makeExactIndex();
}

void StringLookupBase::makeExactIndex() {
  exact_.clear();
  exactBytes_.clear();
  exactMask_ = 0;
  // A key with a zero inside is matched by the walk up to its zero; the index would need the same
  // rule, and such keys are outside what tables are for, so they keep the walk alone. The slot's
  // fields also bound the number and the size of the keys.
  unsigned long long totalBytes = 0;
  for (std::string const& key : keys_) totalBytes += key.size();
  if (!kLittleEndian || keysHoldZero_ || keys_.empty() || keys_.size() >= 0x80000000ul ||
      totalBytes >= 0xFFFFFFFFull)
    return;
  unsigned long capacity = 16;
  while (capacity < 2 * keys_.size()) capacity *= 2;  // at most half full: short probe runs
  exact_.assign(capacity, ExactSlot{0, 0, 0, 0, 0});
  exactMask_ = capacity - 1;
  unsigned char const* fold = caseInsensitive_ ? foldTable() : nullptr;
  std::string folded;
  for (unsigned long k = 0; k < keys_.size(); ++k) {
    std::string const& key = keys_[k];
    unsigned long const n = key.size();
    ExactSlot add{0, 0, 0, static_cast<unsigned int>(k), 0};
    unsigned long long h;
    if (n <= kPackedLength) {
      if (fold != nullptr) {
        packShort<true>(key.data(), n, add.lo, add.hi);
      } else {
        packShort<false>(key.data(), n, add.lo, add.hi);
      }
      h = hashPacked(add.lo, add.hi, n);
    } else {
      folded.assign(key);
      if (fold != nullptr) {
        for (char& c : folded) c = static_cast<char>(fold[static_cast<unsigned char>(c)]);
      }
      h = hashLong<false>(folded.data(), n, nullptr);
      add.offset = static_cast<unsigned int>(exactBytes_.size());
    }
    add.tag = slotTag(h, n);
    unsigned long i = static_cast<unsigned long>(h) & exactMask_;
    bool duplicate = false;
    for (; exact_[i].tag != 0 && !duplicate; i = (i + 1) & exactMask_) {
      // Equal keys (after folding): the first added keeps the slot.
      ExactSlot const& slot = exact_[i];
      duplicate = slot.tag == add.tag && slot.lo == add.lo && slot.hi == add.hi &&
                  (n <= kPackedLength || exactBytes_.compare(slot.offset, n, folded) == 0);
    }
    if (duplicate) continue;
    exact_[i] = add;
    if (n > kPackedLength) exactBytes_ += folded;
  }
}

unsigned long StringLookupBase::makeTransitions(Permutation const& order, unsigned long s, unsigned long e,
                                                unsigned long len) {
  if (!(s < e)) throw InvalidArgumentException("s < e");
  unsigned char const* fold = caseInsensitive_ ? foldTable() : nullptr;
  std::vector<Transition> local;
  local.reserve(e - s);
  unsigned long i = s;
  while (i < e) {
    long keyIndex = static_cast<long>(order[i]);
    std::string const& key = keys_[order[i]];
    if (key.size() == len) {
      local.push_back(Transition(keyIndex));
      ++i;
      continue;
    }
    unsigned char c = keyByte(key, len, fold);
    unsigned long j = i + 1;
    for (; j < e; ++j) {
      std::string const& other = keys_[order[j]];
      if (other.size() <= len) throw IllegalStateException("keys_[sortedOrder[i]].size() > len");
      if (keyByte(other, len, fold) != c) break;
    }
    Transition edge(static_cast<char>(c), 0);
    if (j == i + 1) {
      // One key below: the chain of one-edge states that the walk would build merges into one
      // edge that ends in the key.
      for (unsigned long k = len + 1; k < key.size(); ++k)
        edge.tail.push_back(static_cast<char>(keyByte(key, k, fold)));
      edge.target = ~keyIndex;
    } else {
      // Several keys below: the bytes that all of them share merge into the edge, whose target is
      // the state where they part. The keys are sorted, so the first and last share the least.
      std::string const& last = keys_[order[j - 1]];
      unsigned long shared = len + 1;
      unsigned long limit = std::min(key.size(), last.size());
      while (shared < limit && keyByte(key, shared, fold) == keyByte(last, shared, fold)) {
        edge.tail.push_back(static_cast<char>(keyByte(key, shared, fold)));
        ++shared;
      }
      makeTransitions(order, i, j, shared);
      edge.target = static_cast<long>(states_.size());
    }
    local.push_back(std::move(edge));
    i = j;
  }
  unsigned long first = transitions_.size();
  for (Transition& t : local) transitions_.push_back(std::move(t));
  states_.push_back(State(first));
  return local.size();
}

long StringLookupBase::findKeyIndex(StringView const& text, PrefixMatch prefixMatch) const noexcept {
  if (text.empty() || text.length() > maxKeyLength_) return 0;
  if (states_.size() < 2) return 0;
  if (prefixMatch != PREFIX_UNIQUE && exactMask_ != 0) {
    return caseInsensitive_ ? findExact<true>(text.data(), text.length())
                            : findExact<false>(text.data(), text.length());
  }
  return caseInsensitive_ ? find<true>(text.data(), text.length(), prefixMatch)
                          : find<false>(text.data(), text.length(), prefixMatch);
}

template <bool Fold>
long StringLookupBase::find(char const* text, unsigned long length, PrefixMatch prefixMatch) const noexcept {
  unsigned char const* fold = Fold ? foldTable() : nullptr;
  // The byte at p as the walk sees it: 0 once the text has ended, at its length or its first zero.
  auto at = [&](unsigned long p) -> unsigned char {
    unsigned char c = p < length ? static_cast<unsigned char>(text[p]) : 0;
    return Fold ? fold[c] : c;
  };
  unsigned char const* edgeBytes = edgeBytes_.data();
  WalkEdge const* walk = walk_.data();
  char const* tails = tailBytes_.data();
  // Tail bytes hold no zero unless a key does, so a run of text bytes equal to a tail cannot hide
  // the end of the text.
  bool const plainTails = !Fold && !keysHoldZero_;
  unsigned long state = states_.size() - 1;
  unsigned long p = 0;
  for (;;) {
    unsigned char b = at(p);
    SearchState const& current = search_[state];
    unsigned long k = current.first;
    unsigned long end = current.first + current.count;
    if (current.dispatch >= 0) {
      unsigned short d = dispatch_[static_cast<unsigned long>(current.dispatch) + b];
      if (d == 0xFFFF) return 0;
      k += d;
    } else if (current.count >= 8) {
      // Lower bound: the first edge with ch >= b, so that equal keys give the first added.
      unsigned long hi = end;
      while (k < hi) {
        unsigned long mid = k + (hi - k) / 2;
        if (edgeBytes[mid] < b) {
          k = mid + 1;
        } else {
          hi = mid;
        }
      }
      if (k >= end || edgeBytes[k] != b) return 0;
    } else {
      while (k < end && edgeBytes[k] < b) ++k;
      if (k >= end || edgeBytes[k] != b) return 0;
    }
    WalkEdge const& edge = walk[k];
    if (b == 0) return edge.target < 0 ? ~edge.target + 1 : 0;
    ++p;
    char const* tail = tails + edge.tailOffset;
    unsigned long tailLength = edge.tailLength;
    unsigned long matched = 0;
    if (plainTails && length - p >= tailLength) {
      while (matched < tailLength && text[p + matched] == tail[matched]) ++matched;
    }
    if (matched == tailLength) {
      p += tailLength;
    } else {
      for (unsigned long i = 0; i < tailLength; ++i) {
        unsigned char c = at(p);
        if (c == 0 || c != static_cast<unsigned char>(tail[i])) {
          // The text ended inside an edge that leads to one key: a unique abbreviation.
          bool abbreviation = prefixMatch == PREFIX_UNIQUE && c == 0 && edge.target < 0;
          return abbreviation ? ~edge.target + 1 : 0;
        }
        ++p;
      }
    }
    if (edge.target < 0) return at(p) == 0 ? ~edge.target + 1 : 0;
    state = static_cast<unsigned long>(edge.target);
  }
}

template <bool Fold>
long StringLookupBase::findExact(char const* text, unsigned long length) const noexcept {
  unsigned long n = length;
  if (n > kPackedLength) {
    void const* zero = std::memchr(text, 0, n);
    if (zero != nullptr) n = static_cast<unsigned long>(static_cast<char const*>(zero) - text);
  }
  unsigned long long lo = 0;
  unsigned long long hi = 0;
  unsigned long long h;
  if (n <= kPackedLength) {
    n = packShort<Fold>(text, n, lo, hi);
    h = hashPacked(lo, hi, n);
  } else {
    h = hashLong<Fold>(text, n, Fold ? foldTable() : nullptr);
  }
  unsigned long long const tag = slotTag(h, n);
  ExactSlot const* slots = exact_.data();
  // The index is at most half full, so an empty slot ends every probe run.
  for (unsigned long i = static_cast<unsigned long>(h) & exactMask_;; i = (i + 1) & exactMask_) {
    ExactSlot const& slot = slots[i];
    if (slot.tag == tag && slot.lo == lo && slot.hi == hi &&
        (n <= kPackedLength ||
         sameBytes<Fold>(text, exactBytes_.data() + slot.offset, n, Fold ? foldTable() : nullptr))) {
      return static_cast<long>(slot.key) + 1;
    }
    if (slot.tag == 0) return 0;
  }
}

StringLookupResultBase::StringLookupResultBase(Parameters const& parameters) : StringLookupBase(parameters) {}

StringLookupResultBase::~StringLookupResultBase() {}

void StringLookupResultBase::makeResultPermutationInternal(unsigned long n, Comparator2 const& comparator) {
  resultOrder_.clear();
  groupStarts_.clear();
  if (n == 0) return;
  resultOrder_.resize(n);
  resultOrder_.sort(comparator);
  groupStarts_.push_back(0);
  for (unsigned long i = 1; i < n; ++i) {
    if (!comparator.isEqualTo(resultOrder_[i], resultOrder_[groupStarts_.back()])) groupStarts_.push_back(i);
  }
}

unsigned long StringLookupResultBase::toFirstStringInternal(Comparator1 const& comparator) const {
  unsigned long low = 0;
  unsigned long high = groupStarts_.size();
  while (low < high) {
    unsigned long middle = low + (high - low) / 2;
    unsigned long k = resultOrder_[groupStarts_[middle]];
    if (comparator.isLessThan(k)) {
      high = middle;
    } else if (comparator.isEqualTo(k)) {
      return middle;
    } else {
      low = middle + 1;
    }
  }
  return groupStarts_.size();
}

StringRange StringLookupResultBase::toStringsInternal(Comparator1 const& comparator) const {
  unsigned long group = toFirstStringInternal(comparator);
  if (group >= groupStarts_.size()) return StringRange{nullptr, nullptr, 0, 0};
  unsigned long end = group + 1 < groupStarts_.size() ? groupStarts_[group + 1] : resultOrder_.size();
  return StringRange{this, &resultOrder_, groupStarts_[group], end};
}

}  // namespace vyk
