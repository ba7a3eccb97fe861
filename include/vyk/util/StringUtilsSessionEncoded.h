// Case conversion, case-insensitive comparison, search and hashing of text in the session encoding.
#ifndef VYK_UTIL_STRINGUTILSSESSIONENCODED_H
#define VYK_UTIL_STRINGUTILSSESSIONENCODED_H

#include <memory>
#include <string>

#include "vyk/util/Export.h"

namespace vyk {

class CharEncoding;

namespace session_encoded {

// The string operations of one kind of session encoding. All operations are const and the
// implementations keep no state, so one object serves any number of threads.
//
// Comparison results are differences of folded characters (bytes in the single-byte form), not only
// -1, 0 and 1: test their sign. Case-insensitive means folded to lower case.
class VYK_EXPORT StringUtilsSessionEncodedImpl {
 public:
  // The single-byte implementation, over the sbcs tables.
  static std::unique_ptr<StringUtilsSessionEncodedImpl> getSBCSImpl();
  // The multi-byte implementation from the sibling library "vykxicus" (entry createIcuStringUtils),
  // or null when that library or its entry cannot be found.
  static std::unique_ptr<StringUtilsSessionEncodedImpl> getMBCSImpl(CharEncoding const* encoding);

  virtual ~StringUtilsSessionEncodedImpl();
  virtual bool isSingleByteImpl() const = 0;

  // In place up to the first 0; in place over exactly n bytes (zeros included); the whole string.
  virtual void to_upper(char* s) const = 0;
  virtual void to_upper(char* s, unsigned long n) const = 0;
  virtual void to_upper(std::string& s) const = 0;
  // Converts n bytes of src into dst (room for n bytes).
  virtual void to_upper(char const* src, unsigned long n, char* dst) const = 0;
  // Appends the converted src to dst; what dst held stays.
  virtual void to_upper(std::string const& src, std::string& dst) const = 0;
  virtual std::string to_upper_copy(std::string const& s) const = 0;
  // A negative n throws std::length_error("basic_string::append").
  virtual std::string to_upper_copy(char const* s, int n) const = 0;
  virtual void to_lower(char* s) const = 0;
  virtual void to_lower(char* s, unsigned long n) const = 0;
  virtual void to_lower(std::string& s) const = 0;
  virtual void to_lower(char const* src, unsigned long n, char* dst) const = 0;
  virtual void to_lower(std::string const& src, std::string& dst) const = 0;
  virtual std::string to_lower_copy(std::string const& s) const = 0;
  virtual std::string to_lower_copy(char const* s, int n) const = 0;

  // False when the text holds a lower-case (upper-case) letter; digits and signs are neither.
  virtual bool vyk_strisupper(char const* s) const = 0;
  virtual bool vyk_strislower(char const* s) const = 0;

  virtual bool iequals(char const* s, unsigned long n, char const* t, unsigned long m) const = 0;
  virtual bool iequals(std::string const& s, char const* t) const = 0;
  virtual bool iequals(char const* s, char const* t) const = 0;

  // Over counted texts: the first folded difference, else n - m truncated to int.
  virtual int icompare(char const* s, unsigned long n, char const* t, unsigned long m) const = 0;
  // The first folded difference; 1 when t ends first, -1 when s ends first, 0 when both end.
  virtual int icompare(std::string const& s, char const* t) const = 0;
  // The first folded difference, the end of a text counting as 0.
  virtual int icompare(char const* s, char const* t) const = 0;

  // As icompare over at most limit characters; 0 when limit is 0.
  virtual int icomparen(std::string const& s, std::string const& t, unsigned long limit) const = 0;
  virtual int icomparen(char const* s, std::string const& t, unsigned long limit) const = 0;
  virtual int icomparen(char const* s, unsigned long n, char const* t, unsigned long m,
                        unsigned long limit) const = 0;
  virtual int icomparen(std::string const& s, char const* t, unsigned long limit) const = 0;
  virtual int icomparen(char const* s, char const* t, unsigned long limit) const = 0;

  virtual bool istarts_with(char const* s, unsigned long n, char const* t, unsigned long m) const = 0;
  virtual bool istarts_with(std::string const& s, char const* t) const = 0;
  virtual bool istarts_with(char const* s, char const* t) const = 0;
  virtual bool iends_with(char const* s, unsigned long n, char const* t, unsigned long m) const = 0;

  // The lowest byte position p >= from at which t matches; std::string::npos when there is none
  // or when from + m > n. An empty t gives from.
  virtual unsigned long ifind(char const* s, unsigned long n, char const* t, unsigned long m,
                              unsigned long from) const = 0;
  virtual unsigned long ifind(std::string const& s, std::string const& t, unsigned long from) const = 0;

  // Equal for texts that are equal without regard to case.
  virtual unsigned long hash(char const* s) const = 0;
  virtual bool keyequal(char const* s, char const* t) const = 0;
};

// The single-byte implementation: every byte is one character, folded through
// sbcs::detail::tolowerTable_ (toupperTable_ serves only the to_upper family). One table read per
// byte; nothing allocates apart from what returns or grows a string.
class VYK_EXPORT SingleByteEncodingStringUtilsSessionEncodedImpl : public StringUtilsSessionEncodedImpl {
 public:
  constexpr SingleByteEncodingStringUtilsSessionEncodedImpl() {}
  ~SingleByteEncodingStringUtilsSessionEncodedImpl() override;
  bool isSingleByteImpl() const override;

  void to_upper(char* s) const override;
  void to_upper(char* s, unsigned long n) const override;
  void to_upper(std::string& s) const override;
  void to_upper(char const* src, unsigned long n, char* dst) const override;
  void to_upper(std::string const& src, std::string& dst) const override;
  std::string to_upper_copy(std::string const& s) const override;
  std::string to_upper_copy(char const* s, int n) const override;
  void to_lower(char* s) const override;
  void to_lower(char* s, unsigned long n) const override;
  void to_lower(std::string& s) const override;
  void to_lower(char const* src, unsigned long n, char* dst) const override;
  void to_lower(std::string const& src, std::string& dst) const override;
  std::string to_lower_copy(std::string const& s) const override;
  std::string to_lower_copy(char const* s, int n) const override;

  bool vyk_strisupper(char const* s) const override;
  bool vyk_strislower(char const* s) const override;

  bool iequals(char const* s, unsigned long n, char const* t, unsigned long m) const override;
  bool iequals(std::string const& s, char const* t) const override;
  bool iequals(char const* s, char const* t) const override;
  int icompare(char const* s, unsigned long n, char const* t, unsigned long m) const override;
  int icompare(std::string const& s, char const* t) const override;
  int icompare(char const* s, char const* t) const override;
  int icomparen(std::string const& s, std::string const& t, unsigned long limit) const override;
  int icomparen(char const* s, std::string const& t, unsigned long limit) const override;
  int icomparen(char const* s, unsigned long n, char const* t, unsigned long m,
                unsigned long limit) const override;
  int icomparen(std::string const& s, char const* t, unsigned long limit) const override;
  int icomparen(char const* s, char const* t, unsigned long limit) const override;
  bool istarts_with(char const* s, unsigned long n, char const* t, unsigned long m) const override;
  bool istarts_with(std::string const& s, char const* t) const override;
  bool istarts_with(char const* s, char const* t) const override;
  bool iends_with(char const* s, unsigned long n, char const* t, unsigned long m) const override;
  unsigned long ifind(char const* s, unsigned long n, char const* t, unsigned long m,
                      unsigned long from) const override;
  unsigned long ifind(std::string const& s, std::string const& t, unsigned long from) const override;
  // h = 0; for each byte c: v = the folded byte read as signed char, widened to 64 bits;
  // h ^= v + 0x9E3779B9 + (h << 6) + (h >> 2), in unsigned 64-bit arithmetic.
  unsigned long hash(char const* s) const override;
  bool keyequal(char const* s, char const* t) const override;
};

// The signature of the sibling library's entry createIcuStringUtils (C linkage): a new
// implementation for the encoding, owned by the caller, or null.
typedef StringUtilsSessionEncodedImpl* (*CreateStringUtilsFunction)(CharEncoding const* encoding);

// The active implementation: single-byte from load until the application chooses. Chosen during
// start-up, before other threads run; reading it from any number of threads is safe after that.
VYK_EXPORT StringUtilsSessionEncodedImpl const& activeImpl();

// Makes a new single-byte implementation active; the previous one is deleted.
VYK_EXPORT void setSBCSStringUtilBehaviour();
// Makes the sibling library's multi-byte implementation active and answers true. When the library
// or its entry cannot be found, or the entry answers null, nothing changes and the answer is false.
VYK_EXPORT bool setMBCSStringUtilBehaviour(CharEncoding const* encoding);

// The free functions forward to the active implementation.
VYK_EXPORT void to_upper(char* s);
VYK_EXPORT void to_upper(char* s, unsigned long n);
VYK_EXPORT void to_upper(std::string& s);
VYK_EXPORT void to_upper(char const* src, unsigned long n, char* dst);
VYK_EXPORT void to_upper(std::string const& src, std::string& dst);
VYK_EXPORT std::string to_upper_copy(std::string const& s);
VYK_EXPORT std::string to_upper_copy(char const* s, int n);
VYK_EXPORT void to_lower(char* s);
VYK_EXPORT void to_lower(char* s, unsigned long n);
VYK_EXPORT void to_lower(std::string& s);
VYK_EXPORT void to_lower(char const* src, unsigned long n, char* dst);
VYK_EXPORT void to_lower(std::string const& src, std::string& dst);
VYK_EXPORT std::string to_lower_copy(std::string const& s);
VYK_EXPORT std::string to_lower_copy(char const* s, int n);

VYK_EXPORT bool vyk_strisupper(char const* s);
VYK_EXPORT bool vyk_strislower(char const* s);
// Bytes before the first 0, at most max; reads nothing when max is 0. Needs no implementation.
VYK_EXPORT unsigned long vyk_strnlen(char const* s, unsigned long max);

VYK_EXPORT bool iequals(char const* s, unsigned long n, char const* t, unsigned long m);
VYK_EXPORT bool iequals(std::string const& s, std::string const& t);
VYK_EXPORT bool iequals(std::string const& s, char const* t);
VYK_EXPORT bool iequals(char const* s, std::string const& t);
VYK_EXPORT bool iequals(char const* s, char const* t);

VYK_EXPORT int icompare(char const* s, unsigned long n, char const* t, unsigned long m);
VYK_EXPORT int icompare(std::string const& s, std::string const& t);
VYK_EXPORT int icompare(std::string const& s, char const* t);
// The negation of icompare(t, s).
VYK_EXPORT int icompare(char const* s, std::string const& t);
VYK_EXPORT int icompare(char const* s, char const* t);

VYK_EXPORT int icomparen(std::string const& s, std::string const& t, unsigned long limit);
VYK_EXPORT int icomparen(char const* s, std::string const& t, unsigned long limit);
VYK_EXPORT int icomparen(char const* s, unsigned long n, char const* t, unsigned long m, unsigned long limit);
VYK_EXPORT int icomparen(std::string const& s, char const* t, unsigned long limit);
VYK_EXPORT int icomparen(char const* s, char const* t, unsigned long limit);

VYK_EXPORT bool istarts_with(char const* s, unsigned long n, char const* t, unsigned long m);
VYK_EXPORT bool istarts_with(std::string const& s, std::string const& t);
VYK_EXPORT bool istarts_with(std::string const& s, char const* t);
VYK_EXPORT bool istarts_with(char const* s, char const* t);

// All forms reach the counted one; zero-terminated texts are measured first.
VYK_EXPORT bool iends_with(char const* s, unsigned long n, char const* t, unsigned long m);
VYK_EXPORT bool iends_with(std::string const& s, std::string const& t);
VYK_EXPORT bool iends_with(std::string const& s, char const* t);
VYK_EXPORT bool iends_with(char const* s, char const* t);

VYK_EXPORT unsigned long ifind(char const* s, unsigned long n, char const* t, unsigned long m,
                               unsigned long from);
VYK_EXPORT unsigned long ifind(std::string const& s, std::string const& t, unsigned long from);

// Hash and equality for hash tables keyed by zero-terminated text without regard to case.
struct VYK_EXPORT CaseInsensitiveStringHashKeyOps {
  static unsigned long hash(char const* s);
  static bool keyequal(char const* s, char const* t);
};

}  // namespace session_encoded
}  // namespace vyk

#endif
