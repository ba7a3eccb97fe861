// Parsing of the `vykrec copy` command line.
#include "CopyOptions.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace vykrec {
namespace {

vyk::CharEncoding const* parseEncoding(std::string const& text) {
  vyk::CharEncoding const* encoding = vyk::CharEncoding::tryForName(text);
  if (encoding == nullptr) throw UsageError("unknown encoding '" + text + "'");
  return encoding;
}

// The terminated format builds its line ends from these flags; an encoding without them cannot be
// written or read as V records.
bool hasLineEnds(vyk::CharEncoding const* encoding) {
  return encoding->hasFlag(vyk::ENC_ASCII_LINE_ENDS | vyk::ENC_EBCDIC_NL | vyk::ENC_EBCDIC |
                           vyk::ENC_UTF16LE | vyk::ENC_UTF16BE | vyk::ENC_UTF32LE | vyk::ENC_UTF32BE);
}

bool hasMark(vyk::CharEncoding const* encoding) {
  return encoding->hasFlag(vyk::ENC_UTF8 | vyk::ENC_UTF16LE | vyk::ENC_UTF16BE | vyk::ENC_UTF32LE |
                           vyk::ENC_UTF32BE);
}

void checkEncodings(CopyOptions const& options) {
  if (!options.converts()) {
    if (options.bom) throw UsageError("--bom needs --to-encoding");
    return;
  }
  struct Side {
    vyk::BaseRecordFile::Recfm recfm;
    vyk::CharEncoding const* encoding;
  };
  for (Side const side : {Side{options.from.recfm, options.inputEncoding()},
                          Side{options.to.recfm, options.outputEncoding()}}) {
    if (side.recfm == vyk::BaseRecordFile::RECFM_V && !hasLineEnds(side.encoding))
      throw UsageError(std::string("encoding '") + side.encoding->getName() +
                       "' has no line feed for V records");
  }
  if (options.bom) {
    if (options.to.recfm != vyk::BaseRecordFile::RECFM_V) throw UsageError("--bom applies to V output only");
    if (!hasMark(options.outputEncoding()))
      throw UsageError(std::string("encoding '") + options.outputEncoding()->getName() +
                       "' has no byte-order mark");
  }
}

vyk::BaseRecordFile::Recfm parseFormat(std::string const& text) {
  vyk::BaseRecordFile::Recfm recfm;
  if (!vyk::BaseRecordFile::tryParseRecfm(text, recfm))
    throw UsageError("unknown record format '" + text + "'");
  return recfm;
}

// A terminator by number (0-4) or by name, in any case: NUL, CR, LF, CRLF, ANY.
int parseTermstr(std::string const& option, std::string const& text) {
  static char const* const kNames[] = {"NUL", "CR", "LF", "CRLF", "ANY"};
  for (int value = 0; value < 5; ++value) {
    if (text == std::to_string(value)) return value;
    std::string const name = kNames[value];
    bool same = text.size() == name.size();
    for (size_t i = 0; same && i < text.size(); ++i)
      same = std::toupper(static_cast<unsigned char>(text[i])) == name[i];
    if (same) return value;
  }
  throw UsageError(option + " takes 0-4 or NUL, CR, LF, CRLF, ANY, not '" + text + "'");
}

int parsePositive(std::string const& option, std::string const& text) {
  errno = 0;
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno != 0 || value < 1 || value > INT_MAX)
    throw UsageError(option + " takes a whole number from 1 to " + std::to_string(INT_MAX) + ", not '" +
                     text + "'");
  return static_cast<int>(value);
}

// Options that take a value; every other "--word" but --help is unknown.
char const* const kValueOptions[] = {"--from",       "--to",           "--lrecl",      "--blksize",
                                     "--termstr",    "--from-termstr", "--to-termstr", "--from-encoding",
                                     "--to-encoding"};

bool takesValue(std::string const& name) {
  for (char const* option : kValueOptions)
    if (name == option) return true;
  return false;
}

// Splits "--name=value" and "--name value" forms; returns false for a word that is not an option.
bool takeOption(std::vector<std::string> const& args, size_t& i, std::string& name, std::string& value) {
  std::string const& word = args[i];
  if (word.size() < 3 || word.compare(0, 2, "--") != 0) return false;
  size_t eq = word.find('=');
  if (eq != std::string::npos) {
    name = word.substr(0, eq);
    value = word.substr(eq + 1);
    return true;
  }
  name = word;
  if (name == "--help" || name == "--bom") return true;
  if (!takesValue(name)) throw UsageError("unknown option '" + name + "'");
  if (i + 1 >= args.size()) throw UsageError(name + " needs a value");
  value = args[++i];
  return true;
}

}  // namespace

CopyOptions parseCopyOptions(std::vector<std::string> const& args) {
  CopyOptions options;
  std::vector<std::string> files;
  for (size_t i = 0; i < args.size(); ++i) {
    std::string name, value;
    if (!takeOption(args, i, name, value)) {
      if (args[i].size() > 1 && args[i][0] == '-' && args[i] != "-")
        throw UsageError("unknown option '" + args[i] + "'");
      files.push_back(args[i]);
      continue;
    }
    if (name == "--help") {
      options.help = true;
    } else if (name == "--bom") {
      options.bom = true;
    } else if (name == "--from-encoding") {
      options.fromEncoding = parseEncoding(value);
    } else if (name == "--to-encoding") {
      options.toEncoding = parseEncoding(value);
    } else if (name == "--from") {
      options.from.recfm = parseFormat(value);
    } else if (name == "--to") {
      options.to.recfm = parseFormat(value);
    } else if (name == "--blksize") {
      options.blockSize = parsePositive(name, value);
      if (options.blockSize > 65535) throw UsageError("--blksize takes at most 65535, not '" + value + "'");
    } else if (name == "--termstr") {
      options.from.termstr = options.to.termstr = parseTermstr(name, value);
    } else if (name == "--from-termstr") {
      options.from.termstr = parseTermstr(name, value);
    } else if (name == "--to-termstr") {
      options.to.termstr = parseTermstr(name, value);
    } else if (name == "--lrecl") {
      options.from.lrecl = options.to.lrecl = parsePositive(name, value);
    } else {
      throw UsageError("unknown option '" + name + "'");
    }
  }
  if (files.size() > 2) throw UsageError("too many files: '" + files[2] + "'");
  if (files.size() > 0) options.input = files[0];
  if (files.size() > 1) options.output = files[1];
  checkEncodings(options);
  return options;
}

}  // namespace vykrec
