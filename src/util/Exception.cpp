// The exception tree: the base class, one definition per family member, and IOAbendException.
#include "vyk/util/Exception.h"

#include <cstdio>
#include <typeinfo>

namespace vyk {

Exception::Exception() : nested_(nullptr) {}

Exception::Exception(std::string const& message) : message_(message), nested_(nullptr) {}

Exception::Exception(std::string const& message, std::string const& arg)
    : message_(message), arg_(arg), nested_(nullptr) {}

Exception::Exception(std::string const& message, Exception const& nested)
    : message_(message), nested_(nested.clone()) {}

Exception::Exception(Exception const& other)
    : std::exception(other),
      message_(other.message_),
      arg_(other.arg_),
      nested_(other.nested_ ? other.nested_->clone() : nullptr) {}

Exception::~Exception() { delete nested_; }

Exception& Exception::operator=(Exception const& other) {
  if (this == &other) return *this;
  delete nested_;
  nested_ = nullptr;
  message_ = other.message_;
  arg_ = other.arg_;
  nested_ = other.nested_ ? other.nested_->clone() : nullptr;
  return *this;
}

char const* Exception::what() const noexcept {
  try {
    displayCache_ = displayText();
  } catch (...) {
    return name();
  }
  return displayCache_.c_str();
}

char const* Exception::name() const { return "Exception"; }

char const* Exception::className() const {
  char const* encoded = typeid(*this).name();
  return encoded[0] == '*' ? encoded + 1 : encoded;
}

Exception* Exception::clone() const { return new Exception(*this); }

std::string Exception::displayText() const {
  std::string text = name();
  if (!message_.empty()) {
    text += ": ";
    text += message_;
  }
  if (!arg_.empty()) {
    text += " (";
    text += arg_;
    text += ")";
  }
  return text;
}

#define VYK_DEFINE_EXCEPTION(CLASS, BASE, NAME)                                                      \
  CLASS::CLASS() : BASE() {}                                                                         \
  CLASS::CLASS(std::string const& message) : BASE(message) {}                                        \
  CLASS::CLASS(std::string const& message, std::string const& arg) : BASE(message, arg) {}           \
  CLASS::CLASS(std::string const& message, ::vyk::Exception const& nested) : BASE(message, nested) {} \
  CLASS::CLASS(CLASS const& other) : BASE(other) {}                                                  \
  CLASS::~CLASS() {}                                                                                 \
  CLASS& CLASS::operator=(CLASS const& other) {                                                      \
    BASE::operator=(other);                                                                          \
    return *this;                                                                                    \
  }                                                                                                  \
  char const* CLASS::name() const { return NAME; }                                                   \
  char const* CLASS::className() const { return #CLASS; }                                            \
  ::vyk::Exception* CLASS::clone() const { return new CLASS(*this); }

VYK_DEFINE_EXCEPTION(ApplicationException, Exception, "Application exception")
VYK_DEFINE_EXCEPTION(CipherException, Exception, "Cipher exception")
VYK_DEFINE_EXCEPTION(DatabaseException, Exception, "DATABASE error")
VYK_DEFINE_EXCEPTION(LogicException, Exception, "Logic exception")
VYK_DEFINE_EXCEPTION(AssertionViolationException, LogicException, "Assertion violation")
VYK_DEFINE_EXCEPTION(BufferOverflowException, LogicException, "Buffer overflow")
VYK_DEFINE_EXCEPTION(BufferUnderflowException, LogicException, "Buffer underflow")
VYK_DEFINE_EXCEPTION(IllegalStateException, LogicException, "Illegal state")
VYK_DEFINE_EXCEPTION(InvalidAccessException, LogicException, "Invalid access")
VYK_DEFINE_EXCEPTION(InvalidArgumentException, LogicException, "Invalid argument")
VYK_DEFINE_EXCEPTION(NullPointerException, LogicException, "Null pointer")
VYK_DEFINE_EXCEPTION(RangeException, LogicException, "Out of range")
VYK_DEFINE_EXCEPTION(SignalException, LogicException, "Signal received")
VYK_DEFINE_EXCEPTION(UnhandledException, LogicException, "Signal received")
VYK_DEFINE_EXCEPTION(RuntimeException, Exception, "Runtime exception")
VYK_DEFINE_EXCEPTION(AuthenticationException, RuntimeException, "Authentication exception")
VYK_DEFINE_EXCEPTION(BadCastException, RuntimeException, "Bad cast exception")
VYK_DEFINE_EXCEPTION(ConvolutionException, RuntimeException, "Input convolution option is incorrect.")
VYK_DEFINE_EXCEPTION(DataException, RuntimeException, "Data error")
VYK_DEFINE_EXCEPTION(CharConverterException, DataException, "Character encoding exception")
VYK_DEFINE_EXCEPTION(CharConverterOverflowException, CharConverterException,
                     "Character encoding conversion, buffer overflow")
VYK_DEFINE_EXCEPTION(CharConverterUnmappableCharException, CharConverterException,
                     "Character encoding conversion, unmappable character")
VYK_DEFINE_EXCEPTION(CircularReferenceException, DataException, "Circular reference")
VYK_DEFINE_EXCEPTION(DataFormatException, DataException, "Bad data format")
VYK_DEFINE_EXCEPTION(SyntaxException, DataException, "Syntax error")
VYK_DEFINE_EXCEPTION(PathSyntaxException, SyntaxException, "Bad path syntax")
VYK_DEFINE_EXCEPTION(EntropySourceFailure, RuntimeException, "Unable to provide entropy")
VYK_DEFINE_EXCEPTION(ExistsException, RuntimeException, "Exists")
VYK_DEFINE_EXCEPTION(IOException, RuntimeException, "I/O error")
VYK_DEFINE_EXCEPTION(FileException, IOException, "File access error")
VYK_DEFINE_EXCEPTION(CreateFileException, FileException, "Cannot create file")
VYK_DEFINE_EXCEPTION(FileAccessDeniedException, FileException, "Access to file denied")
VYK_DEFINE_EXCEPTION(FileExistsException, FileException, "File exists")
VYK_DEFINE_EXCEPTION(FileNotFoundException, FileException, "File not found")
VYK_DEFINE_EXCEPTION(FileReadOnlyException, FileException, "File is read-only")
VYK_DEFINE_EXCEPTION(FileSharingViolationException, FileException, "File is in use by another process")
VYK_DEFINE_EXCEPTION(OpenFileException, FileException, "Cannot open file")
VYK_DEFINE_EXCEPTION(PathNotFoundException, FileException, "Path not found")
VYK_DEFINE_EXCEPTION(ReadFileException, FileException, "Cannot read file")
VYK_DEFINE_EXCEPTION(WriteFileException, FileException, "Cannot write file")
VYK_DEFINE_EXCEPTION(NoSpaceException, WriteFileException, "No space left on device")
VYK_DEFINE_EXCEPTION(NotADirectoryException, IOException, "Path is not a directory")
VYK_DEFINE_EXCEPTION(NotAPdsException, IOException, "Dataset is not a PDS")
VYK_DEFINE_EXCEPTION(SSLException, IOException, "SSL exception")
VYK_DEFINE_EXCEPTION(SSLCertExpiredException, SSLException, "The certificate chain had an expired certificate")
VYK_DEFINE_EXCEPTION(SSLCertNotYetValidException, SSLException,
                     "The certificate chain had a certificate that is not yet valid")
VYK_DEFINE_EXCEPTION(SSLNoRootCertException, SSLException, "No root certificate for the certificate chain")
VYK_DEFINE_EXCEPTION(SSLUnknownRootCertException, SSLException,
                     "Certificate chain is valid, but root is not trusted")
VYK_DEFINE_EXCEPTION(LibraryAlreadyLoadedException, RuntimeException, "Library already loaded")
VYK_DEFINE_EXCEPTION(LibraryLoadException, RuntimeException, "Cannot load library")
VYK_DEFINE_EXCEPTION(NoConvergenceException, RuntimeException, "No convergence")
VYK_DEFINE_EXCEPTION(NoPermissionException, RuntimeException, "No permission")
VYK_DEFINE_EXCEPTION(NoThreadAvailableException, RuntimeException, "No thread available")
VYK_DEFINE_EXCEPTION(NotDirectoryException, RuntimeException, "Not a directory")
VYK_DEFINE_EXCEPTION(NotFoundException, RuntimeException, "Not found")
VYK_DEFINE_EXCEPTION(OutOfMemoryException, RuntimeException, "Out of memory")
VYK_DEFINE_EXCEPTION(PoolOverflowException, RuntimeException, "Pool overflow")
VYK_DEFINE_EXCEPTION(PropertyNotSupportedException, RuntimeException, "Property not supported")
VYK_DEFINE_EXCEPTION(RegularExpressionException, RuntimeException, "Error in regular exception")
VYK_DEFINE_EXCEPTION(SystemException, RuntimeException, "System exception")
VYK_DEFINE_EXCEPTION(TimeoutException, RuntimeException, "Timeout")
VYK_DEFINE_EXCEPTION(UnknownURISchemeException, RuntimeException, "Unknown URI scheme")
VYK_DEFINE_EXCEPTION(ZosFloatingPointException, RuntimeException, "z/OS floating point exception")
VYK_DEFINE_EXCEPTION(ZosFloatingPointDivideByZeroException, ZosFloatingPointException,
                     "z/OS floating point divide by zero")
VYK_DEFINE_EXCEPTION(ZosFloatingPointExponentOverflowException, ZosFloatingPointException,
                     "z/OS floating point computation overflowed exponent")

namespace tracelog {
VYK_DEFINE_EXCEPTION(LogAppenderException, ::vyk::Exception, "LogAppenderException")
}  // namespace tracelog

#undef VYK_DEFINE_EXCEPTION

IOAbendException::IOAbendException(int first, int second)
    : IOException(message(first, second)), first_(first), second_(second) {}

std::string IOAbendException::message(int first, int second) {
  char text[64];
  std::snprintf(text, sizeof text, "An I/O abend %X-%X has occured", static_cast<unsigned>(first),
                static_cast<unsigned>(second));
  return text;
}

}  // namespace vyk
