// The library's tree of exceptions that a caller can handle, rooted in vyk::Exception.
#ifndef VYK_UTIL_EXCEPTION_H
#define VYK_UTIL_EXCEPTION_H

#include <exception>
#include <string>

#include "vyk/util/Export.h"

namespace vyk {

// Root of every failure that a caller can handle. It carries a message, an argument text and an
// optional nested exception, of which it keeps a private clone.
//
// what() returns name(), then ": " and the message when there is one, then " (" arg ")" when there
// is an argument text; the nested exception takes no part in it. The returned pointer stays valid
// until the next call of what() on the same object.
//
// An exception object belongs to one thread: what() writes a cache inside it.
class VYK_EXPORT Exception : public std::exception {
 public:
  Exception();
  explicit Exception(std::string const& message);
  Exception(std::string const& message, std::string const& arg);
  Exception(std::string const& message, Exception const& nested);
  Exception(Exception const& other);
  ~Exception() override;
  Exception& operator=(Exception const& other);

  char const* what() const noexcept override;
  // Fixed human text of the class, e.g. "File not found".
  virtual char const* name() const;
  // The unqualified class name. Classes of the tree return a literal; for a plain Exception, or a
  // user's class that does not override it, the run-time type name of the dynamic type.
  virtual char const* className() const;
  // A new copy of the same dynamic type, owned by the caller.
  virtual Exception* clone() const;

  // The nested exception or null; it stays owned by this object.
  Exception const* nested() const { return nested_; }
  std::string const& message() const { return message_; }
  std::string const& arg() const { return arg_; }
  std::string displayText() const;

 private:
  std::string message_;
  std::string arg_;
  Exception* nested_;
  mutable std::string displayCache_;
};

// Declares a class of the tree with the same five constructors as Exception and its own name(),
// className() and clone().
#define VYK_DECLARE_EXCEPTION(CLASS, BASE)                                   \
  class VYK_EXPORT CLASS : public BASE {                                     \
   public:                                                                   \
    CLASS();                                                                 \
    explicit CLASS(std::string const& message);                              \
    CLASS(std::string const& message, std::string const& arg);               \
    CLASS(std::string const& message, ::vyk::Exception const& nested);       \
    CLASS(CLASS const& other);                                               \
    ~CLASS() override;                                                       \
    CLASS& operator=(CLASS const& other);                                    \
    char const* name() const override;                                       \
    char const* className() const override;                                  \
    ::vyk::Exception* clone() const override;                                \
  }

VYK_DECLARE_EXCEPTION(ApplicationException, Exception);
VYK_DECLARE_EXCEPTION(CipherException, Exception);
VYK_DECLARE_EXCEPTION(DatabaseException, Exception);
VYK_DECLARE_EXCEPTION(LogicException, Exception);
VYK_DECLARE_EXCEPTION(AssertionViolationException, LogicException);
VYK_DECLARE_EXCEPTION(BufferOverflowException, LogicException);
VYK_DECLARE_EXCEPTION(BufferUnderflowException, LogicException);
VYK_DECLARE_EXCEPTION(IllegalStateException, LogicException);
VYK_DECLARE_EXCEPTION(InvalidAccessException, LogicException);
VYK_DECLARE_EXCEPTION(InvalidArgumentException, LogicException);
VYK_DECLARE_EXCEPTION(NullPointerException, LogicException);
VYK_DECLARE_EXCEPTION(RangeException, LogicException);
VYK_DECLARE_EXCEPTION(SignalException, LogicException);
VYK_DECLARE_EXCEPTION(UnhandledException, LogicException);
VYK_DECLARE_EXCEPTION(RuntimeException, Exception);
VYK_DECLARE_EXCEPTION(AuthenticationException, RuntimeException);
VYK_DECLARE_EXCEPTION(BadCastException, RuntimeException);
VYK_DECLARE_EXCEPTION(ConvolutionException, RuntimeException);
VYK_DECLARE_EXCEPTION(DataException, RuntimeException);
VYK_DECLARE_EXCEPTION(CharConverterException, DataException);
VYK_DECLARE_EXCEPTION(CharConverterOverflowException, CharConverterException);
VYK_DECLARE_EXCEPTION(CharConverterUnmappableCharException, CharConverterException);
VYK_DECLARE_EXCEPTION(CircularReferenceException, DataException);
VYK_DECLARE_EXCEPTION(DataFormatException, DataException);
VYK_DECLARE_EXCEPTION(SyntaxException, DataException);
VYK_DECLARE_EXCEPTION(PathSyntaxException, SyntaxException);
VYK_DECLARE_EXCEPTION(EntropySourceFailure, RuntimeException);
VYK_DECLARE_EXCEPTION(ExistsException, RuntimeException);
VYK_DECLARE_EXCEPTION(IOException, RuntimeException);
VYK_DECLARE_EXCEPTION(FileException, IOException);
VYK_DECLARE_EXCEPTION(CreateFileException, FileException);
VYK_DECLARE_EXCEPTION(FileAccessDeniedException, FileException);
VYK_DECLARE_EXCEPTION(FileExistsException, FileException);
VYK_DECLARE_EXCEPTION(FileNotFoundException, FileException);
VYK_DECLARE_EXCEPTION(FileReadOnlyException, FileException);
VYK_DECLARE_EXCEPTION(FileSharingViolationException, FileException);
VYK_DECLARE_EXCEPTION(OpenFileException, FileException);
VYK_DECLARE_EXCEPTION(PathNotFoundException, FileException);
VYK_DECLARE_EXCEPTION(ReadFileException, FileException);
VYK_DECLARE_EXCEPTION(WriteFileException, FileException);
VYK_DECLARE_EXCEPTION(NoSpaceException, WriteFileException);
VYK_DECLARE_EXCEPTION(NotADirectoryException, IOException);
VYK_DECLARE_EXCEPTION(NotAPdsException, IOException);
VYK_DECLARE_EXCEPTION(SSLException, IOException);
VYK_DECLARE_EXCEPTION(SSLCertExpiredException, SSLException);
VYK_DECLARE_EXCEPTION(SSLCertNotYetValidException, SSLException);
VYK_DECLARE_EXCEPTION(SSLNoRootCertException, SSLException);
VYK_DECLARE_EXCEPTION(SSLUnknownRootCertException, SSLException);
VYK_DECLARE_EXCEPTION(LibraryAlreadyLoadedException, RuntimeException);
VYK_DECLARE_EXCEPTION(LibraryLoadException, RuntimeException);
VYK_DECLARE_EXCEPTION(NoConvergenceException, RuntimeException);
VYK_DECLARE_EXCEPTION(NoPermissionException, RuntimeException);
VYK_DECLARE_EXCEPTION(NoThreadAvailableException, RuntimeException);
VYK_DECLARE_EXCEPTION(NotDirectoryException, RuntimeException);
VYK_DECLARE_EXCEPTION(NotFoundException, RuntimeException);
VYK_DECLARE_EXCEPTION(OutOfMemoryException, RuntimeException);
VYK_DECLARE_EXCEPTION(PoolOverflowException, RuntimeException);
VYK_DECLARE_EXCEPTION(PropertyNotSupportedException, RuntimeException);
VYK_DECLARE_EXCEPTION(RegularExpressionException, RuntimeException);
VYK_DECLARE_EXCEPTION(SystemException, RuntimeException);
VYK_DECLARE_EXCEPTION(TimeoutException, RuntimeException);
VYK_DECLARE_EXCEPTION(UnknownURISchemeException, RuntimeException);
VYK_DECLARE_EXCEPTION(ZosFloatingPointException, RuntimeException);
VYK_DECLARE_EXCEPTION(ZosFloatingPointDivideByZeroException, ZosFloatingPointException);
VYK_DECLARE_EXCEPTION(ZosFloatingPointExponentOverflowException, ZosFloatingPointException);

namespace tracelog {
VYK_DECLARE_EXCEPTION(LogAppenderException, ::vyk::Exception);
}  // namespace tracelog

// An I/O abend: an IOException whose message names the two codes in hexadecimal,
// "An I/O abend 3C-1A has occured". It keeps the codes, but its name(), className() and clone()
// are those of IOException, so a clone is a plain IOException without them.
class VYK_EXPORT IOAbendException : public IOException {
 public:
  IOAbendException(int first, int second);
  // "An I/O abend " + first + "-" + second + " has occured", in upper-case hexadecimal; a negative
  // code prints as its 32-bit two's-complement pattern.
  static std::string message(int first, int second);
  using Exception::message;
  int first() const { return first_; }
  int second() const { return second_; }

 private:
  int first_;
  int second_;
};

}  // namespace vyk

#endif
