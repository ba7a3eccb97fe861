// Looking up encodings by name and working out their flag words through iconv.
#include "vyk/enc/CharEncoding.h"

#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <type_traits>

#include "IconvSupport.h"
#include "vyk/util/Exception.h"

namespace vyk {

using enc_detail::convertWhole;
using enc_detail::IconvHandle;
using enc_detail::PROBE_FORM;
using enc_detail::WholeResult;

namespace {

std::string toUpper(std::string const& name) {
  std::string upper(name);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

// One character in the probe form.
std::string probeChar(char32_t c) {
  char const bytes[4] = {static_cast<char>(c & 0xFF), static_cast<char>((c >> 8) & 0xFF),
                         static_cast<char>((c >> 16) & 0xFF), static_cast<char>((c >> 24) & 0xFF)};
  return std::string(bytes, 4);
}

// How the encoding writes c, without a leading byte-order mark; empty when it cannot. bomWidth is
// set to the width of a mark that was there, else left alone.
std::string encode(IconvHandle const& encoder, char32_t c, int& bomWidth) {
  std::string out;
  if (convertWhole(encoder, probeChar(c), out) != WholeResult::Ok) return std::string();
  static char const* const marks[] = {"\x00\x00\xFE\xFF", "\xFF\xFE\x00\x00", "\xFE\xFF", "\xFF\xFE"};
  static int const widths[] = {4, 4, 2, 2};
  for (int i = 0; i < 4; ++i) {
    std::string const mark(marks[i], static_cast<std::size_t>(widths[i]));
    if (out.size() > mark.size() && out.compare(0, mark.size(), mark) == 0) {
      bomWidth = widths[i];
      return out.substr(mark.size());
    }
  }
  return out;
}

// True when each byte alone decodes to one character or is invalid: no byte starts a longer
// sequence or changes a shift state.
bool decodesByteByByte(IconvHandle const& decoder) {
  for (int b = 0; b < 256; ++b) {
    std::string out;
    WholeResult const result = convertWhole(decoder, std::string(1, static_cast<char>(b)), out);
    if (result == WholeResult::Incomplete) return false;
    if (result == WholeResult::Ok && out.size() != 4) return false;
  }
  return true;
}

struct Registry {
  std::mutex lock;
  std::map<std::string, std::unique_ptr<CharEncoding>> byName;
};

Registry& registry() {
  static Registry instance;
  return instance;
}

}  // namespace

CharEncoding::CharEncoding() : flags_(0), maxBytesPerChar_(1), name_(), iconvName_() {
  static_assert(std::is_standard_layout<CharEncoding>::value, "the flag word must be readable at the start");
  static_assert(offsetof(CharEncoding, flags_) == 0, "the flag word must come first");
}

CharEncoding* CharEncoding::probe(std::string const& upperName) {
  if (upperName.empty() || upperName.size() > MAX_NAME_LENGTH || upperName.find('/') != std::string::npos) {
    return nullptr;
  }
  IconvHandle const decoder(PROBE_FORM, upperName.c_str());
  IconvHandle const encoder(upperName.c_str(), PROBE_FORM);
  if (!decoder.isOpen() || !encoder.isOpen()) return nullptr;

  std::unique_ptr<CharEncoding> encoding(new CharEncoding);
  std::strcpy(encoding->name_, upperName.c_str());
  std::strcpy(encoding->iconvName_, upperName.c_str());
  encoding->maxBytesPerChar_ = decodesByteByByte(decoder) ? 1 : 4;

  int bomWidth = 0;
  std::string const letter = encode(encoder, U'A', bomWidth);
  std::string const lineFeed = encode(encoder, U'\n', bomWidth);
  std::string const blank = encode(encoder, U' ', bomWidth);
  std::uint32_t flags = 0;
  struct Wide {
    char const* letter;
    std::size_t width;
    std::uint32_t flag;
    char const* explicitName;
  };
  static Wide const wideForms[] = {
      {"A\0", 2, ENC_UTF16LE, "UTF-16LE"},
      {"\0A", 2, ENC_UTF16BE, "UTF-16BE"},
      {"A\0\0\0", 4, ENC_UTF32LE, "UTF-32LE"},
      {"\0\0\0A", 4, ENC_UTF32BE, "UTF-32BE"},
  };
  for (Wide const& wide : wideForms) {
    if (letter != std::string(wide.letter, wide.width)) continue;
    flags |= wide.flag;
    std::string unit(wide.width, '\0');
    unit[wide.flag == ENC_UTF16LE || wide.flag == ENC_UTF32LE ? 0 : wide.width - 1] = '\n';
    if (lineFeed == unit) flags |= ENC_ASCII_LINE_ENDS;
    // A name that writes a mark (bomWidth set) converts through the explicit form of its order.
    if (bomWidth != 0) std::strcpy(encoding->iconvName_, wide.explicitName);
  }
  if (letter.size() == 1) {
    if (lineFeed == "\x0A") flags |= ENC_ASCII_LINE_ENDS;
    if (lineFeed == "\x15") flags |= ENC_EBCDIC_NL;
    if (blank == "\x40") flags |= ENC_EBCDIC;
    if (encode(encoder, U'\u00E9', bomWidth) == "\xC3\xA9" &&
        encode(encoder, U'\u20AC', bomWidth) == "\xE2\x82\xAC") {
      flags |= ENC_UTF8;
    }
  }
  encoding->flags_ = flags;
  return encoding.release();
}

CharEncoding const* CharEncoding::tryForName(std::string const& name) {
  std::string const upper = toUpper(name);
  Registry& r = registry();
  std::lock_guard<std::mutex> guard(r.lock);
  auto found = r.byName.find(upper);
  if (found != r.byName.end()) return found->second.get();
  CharEncoding* encoding = probe(upper);
  if (encoding != nullptr) r.byName[upper].reset(encoding);
  return encoding;
}

CharEncoding const* CharEncoding::forName(std::string const& name) {
  CharEncoding const* encoding = tryForName(name);
  if (encoding == nullptr) throw InvalidArgumentException("Unknown encoding", name);
  return encoding;
}

}  // namespace vyk
