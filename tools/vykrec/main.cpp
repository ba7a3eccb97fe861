// vykrec: converts record files between record formats.
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "Copy.h"
#include "CopyOptions.h"
#include "vyk/util/Exception.h"

namespace {

char const kUsage[] =
    "usage: vykrec copy [--from FORMAT] [--to FORMAT] [--lrecl N] [--blksize N] [--termstr T]\n"
    "                   [--from-termstr T] [--to-termstr T] [--from-encoding NAME]\n"
    "                   [--to-encoding NAME] [--bom] [INPUT [OUTPUT]]\n"
    "\n"
    "Reads the records of INPUT (standard input when absent or '-') in the record format FORMAT\n"
    "and writes them to OUTPUT (standard output when absent or '-') in the other.\n"
    "\n"
    "  --from FORMAT      record format of the input (default S)\n"
    "  --to FORMAT        record format of the output (default S)\n"
    "  --lrecl N          record length of both sides\n"
    "  --blksize N        block size in bytes of the S370 formats, both sides, at most 65535\n"
    "                     (default 32760); the block descriptors of S370V, S370VB, S370VS and\n"
    "                     S370VBS count toward it\n"
    "  --termstr T        record terminator of both sides (default ANY)\n"
    "  --from-termstr T   record terminator of the input only\n"
    "  --to-termstr T     record terminator of the output only\n"
    "  --from-encoding NAME  character encoding of the input's records (an iconv name)\n"
    "  --to-encoding NAME    character encoding of the output's records; with only one of\n"
    "                     the two, both sides have that encoding\n"
    "  --bom              start the V output with the byte-order mark of its encoding\n"
    "                     (UTF-8, UTF-16, UTF-32); a mark at the start of a V input in such\n"
    "                     an encoding is always passed over\n"
    "  --help             print this text\n"
    "\n"
    "FORMAT is a record format keyword: S (stream), V, VB, VBA, D, F, FB, FBA, N, P, S370V,\n"
    "S370VB, S370VS, S370VBS, S370VSTREAM, S370VSSTREAM, FOPEN_V, FOPEN_F, FOPEN_P.\n"
    "\n"
    "T applies to the terminated formats (V and its synonyms, P) and is a number or a name:\n"
    "  0 NUL   a zero byte ends a record; one is written\n"
    "  1 CR    carriage return\n"
    "  2 LF    line feed\n"
    "  3 CRLF  carriage return directly followed by line feed\n"
    "  4 ANY   on input LF or CR LF; on output LF\n"
    "A later option wins, so '--termstr CRLF --to-termstr LF' reads CR LF and writes LF.\n"
    "Example, a CR LF text file to LF line ends and back:\n"
    "  vykrec copy --from V --to V --to-termstr LF dos.txt unix.txt\n"
    "  vykrec copy --from V --to V --to-termstr CRLF unix.txt dos.txt\n"
    "\n"
    "Every record is converted on its own; lengths (--lrecl, padding) count bytes of the file.\n"
    "UTF-16 and UTF-32 V records end with the line feed in that encoding. Example, Latin-1 text\n"
    "to IBM-1047 VB records and back:\n"
    "  vykrec copy --from V --to S370VB --from-encoding ISO-8859-1 --to-encoding IBM-1047 a.txt a.vb\n"
    "  vykrec copy --from S370VB --to V --from-encoding IBM-1047 --to-encoding ISO-8859-1 a.vb a.txt\n"
    "\n"
    "Exit status: 0 on success, 1 on an I/O or data error, 2 on a bad command line.\n";

int usageError(std::string const& text) {
  std::cerr << "vykrec: " << text << " (try 'vykrec --help')\n";
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) return usageError("missing command");
  if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    std::cout << kUsage;
    return 0;
  }
  if (args[0] != "copy") return usageError("unknown command '" + args[0] + "'");
  try {
    vykrec::CopyOptions options =
        vykrec::parseCopyOptions(std::vector<std::string>(args.begin() + 1, args.end()));
    if (options.help) {
      std::cout << kUsage;
      return 0;
    }
    vykrec::copyRecords(options);
    return 0;
  } catch (vykrec::UsageError const& e) {
    return usageError(e.what());
  } catch (vyk::Exception const& e) {
    std::cerr << "vykrec: " << e.what() << "\n";
    return 1;
  } catch (std::exception const& e) {
    std::cerr << "vykrec: " << e.what() << "\n";
    return 1;
  }
}
