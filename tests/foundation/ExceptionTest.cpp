// The exception tree: names, display texts, cloning and nested exceptions.
#include "vyk/util/Exception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <tuple>
#include <typeinfo>

namespace vyk {
namespace {

struct LocalFailure : Exception {};

TEST(ExceptionTree, NamesClassNamesAndClonesOfEveryClass) {
  // clang-format off
  std::tuple<Exception*, char const*, char const*> const cases[] = {
      {new ApplicationException, "Application exception", "ApplicationException"},
      {new CipherException, "Cipher exception", "CipherException"},
      {new DatabaseException, "DATABASE error", "DatabaseException"},
      {new LogicException, "Logic exception", "LogicException"},
      {new AssertionViolationException, "Assertion violation", "AssertionViolationException"},
      {new BufferOverflowException, "Buffer overflow", "BufferOverflowException"},
      {new BufferUnderflowException, "Buffer underflow", "BufferUnderflowException"},
      {new IllegalStateException, "Illegal state", "IllegalStateException"},
      {new InvalidAccessException, "Invalid access", "InvalidAccessException"},
      {new InvalidArgumentException, "Invalid argument", "InvalidArgumentException"},
      {new NullPointerException, "Null pointer", "NullPointerException"},
      {new RangeException, "Out of range", "RangeException"},
      {new SignalException, "Signal received", "SignalException"},
      {new UnhandledException, "Signal received", "UnhandledException"},
      {new RuntimeException, "Runtime exception", "RuntimeException"},
      {new AuthenticationException, "Authentication exception", "AuthenticationException"},
      {new BadCastException, "Bad cast exception", "BadCastException"},
      {new ConvolutionException, "Input convolution option is incorrect.", "ConvolutionException"},
      {new DataException, "Data error", "DataException"},
      {new CharConverterException, "Character encoding exception", "CharConverterException"},
      {new CharConverterOverflowException, "Character encoding conversion, buffer overflow", "CharConverterOverflowException"},
      {new CharConverterUnmappableCharException, "Character encoding conversion, unmappable character", "CharConverterUnmappableCharException"},
      {new CircularReferenceException, "Circular reference", "CircularReferenceException"},
      {new DataFormatException, "Bad data format", "DataFormatException"},
      {new SyntaxException, "Syntax error", "SyntaxException"},
      {new PathSyntaxException, "Bad path syntax", "PathSyntaxException"},
      {new EntropySourceFailure, "Unable to provide entropy", "EntropySourceFailure"},
      {new ExistsException, "Exists", "ExistsException"},
      {new IOException, "I/O error", "IOException"},
      {new FileException, "File access error", "FileException"},
      {new CreateFileException, "Cannot create file", "CreateFileException"},
      {new FileAccessDeniedException, "Access to file denied", "FileAccessDeniedException"},
      {new FileExistsException, "File exists", "FileExistsException"},
      {new FileNotFoundException, "File not found", "FileNotFoundException"},
      {new FileReadOnlyException, "File is read-only", "FileReadOnlyException"},
      {new FileSharingViolationException, "File is in use by another process", "FileSharingViolationException"},
      {new OpenFileException, "Cannot open file", "OpenFileException"},
      {new PathNotFoundException, "Path not found", "PathNotFoundException"},
      {new ReadFileException, "Cannot read file", "ReadFileException"},
      {new WriteFileException, "Cannot write file", "WriteFileException"},
      {new NoSpaceException, "No space left on device", "NoSpaceException"},
      {new NotADirectoryException, "Path is not a directory", "NotADirectoryException"},
      {new NotAPdsException, "Dataset is not a PDS", "NotAPdsException"},
      {new SSLException, "SSL exception", "SSLException"},
      {new SSLCertExpiredException, "The certificate chain had an expired certificate", "SSLCertExpiredException"},
      {new SSLCertNotYetValidException, "The certificate chain had a certificate that is not yet valid", "SSLCertNotYetValidException"},
      {new SSLNoRootCertException, "No root certificate for the certificate chain", "SSLNoRootCertException"},
      {new SSLUnknownRootCertException, "Certificate chain is valid, but root is not trusted", "SSLUnknownRootCertException"},
      {new LibraryAlreadyLoadedException, "Library already loaded", "LibraryAlreadyLoadedException"},
      {new LibraryLoadException, "Cannot load library", "LibraryLoadException"},
      {new NoConvergenceException, "No convergence", "NoConvergenceException"},
      {new NoPermissionException, "No permission", "NoPermissionException"},
      {new NoThreadAvailableException, "No thread available", "NoThreadAvailableException"},
      {new NotDirectoryException, "Not a directory", "NotDirectoryException"},
      {new NotFoundException, "Not found", "NotFoundException"},
      {new OutOfMemoryException, "Out of memory", "OutOfMemoryException"},
      {new PoolOverflowException, "Pool overflow", "PoolOverflowException"},
      {new PropertyNotSupportedException, "Property not supported", "PropertyNotSupportedException"},
      {new RegularExpressionException, "Error in regular exception", "RegularExpressionException"},
      {new SystemException, "System exception", "SystemException"},
      {new TimeoutException, "Timeout", "TimeoutException"},
      {new UnknownURISchemeException, "Unknown URI scheme", "UnknownURISchemeException"},
      {new ZosFloatingPointException, "z/OS floating point exception", "ZosFloatingPointException"},
      {new ZosFloatingPointDivideByZeroException, "z/OS floating point divide by zero", "ZosFloatingPointDivideByZeroException"},
      {new ZosFloatingPointExponentOverflowException, "z/OS floating point computation overflowed exponent", "ZosFloatingPointExponentOverflowException"},
      {new tracelog::LogAppenderException, "LogAppenderException", "LogAppenderException"},
  };
  // clang-format on
  for (auto [e, name, className] : cases) {
    std::unique_ptr<Exception> owner(e), copy(e->clone());
    EXPECT_STREQ(name, e->name());
    EXPECT_STREQ(className, e->className());
    EXPECT_STREQ(name, e->what());
    Exception const &original = *owner, &cloned = *copy;
    EXPECT_EQ(typeid(original), typeid(cloned)) << className;
  }
  LocalFailure local;  // no marker of the anonymous scope in its name
  EXPECT_NE('*', local.className()[0]);
  EXPECT_NE(nullptr, std::strstr(local.className(), "LocalFailure"));
  EXPECT_STREQ(typeid(Exception).name(), Exception("m").className());
}

TEST(ExceptionTree, DisplayTextJoinsNameMessageAndArgument) {
  std::tuple<char const*, char const*, char const*> const cases[] = {
      {"", "", "File not found"},
      {"a.txt", "", "File not found: a.txt"},
      {"a.txt", "open", "File not found: a.txt (open)"},
      {"", "open", "File not found (open)"}};
  for (auto [message, arg, expected] : cases)
    EXPECT_STREQ(expected, FileNotFoundException(message, arg).what());
  std::unique_ptr<Exception> copy(NoSpaceException("disk", "write").clone());
  auto* asBase = dynamic_cast<WriteFileException*>(copy.get());
  ASSERT_NE(nullptr, asBase);
  EXPECT_STREQ("No space left on device: disk (write)", asBase->what());
}

TEST(ExceptionTree, NestedExceptionIsDeepCopiedOnCopyAndAssignment) {
  auto outer = std::make_unique<IOException>("outer", FileNotFoundException("inner", "arg"));
  IOException copy(*outer);
  ASSERT_NE(nullptr, copy.nested());
  EXPECT_NE(outer->nested(), copy.nested());
  outer.reset();
  EXPECT_STREQ("FileNotFoundException", copy.nested()->className());
  EXPECT_EQ("inner", copy.nested()->message());
  EXPECT_STREQ("I/O error: outer", copy.what());  // the nested one is not displayed

  IOException& same = copy;
  copy = same;
  ASSERT_NE(nullptr, copy.nested());
  EXPECT_EQ("inner", copy.nested()->message());
  copy = IOException("b");
  EXPECT_EQ(nullptr, copy.nested());
  EXPECT_STREQ("I/O error: b", copy.what());
  IOException other("c", RangeException("nc"));
  copy = other;
  ASSERT_NE(nullptr, copy.nested());
  EXPECT_NE(other.nested(), copy.nested());
  EXPECT_STREQ("RangeException", copy.nested()->className());
}

TEST(IOAbendException, MessageInHexAndCloneIsPlainIOException) {
  std::tuple<int, int, char const*> const cases[] = {
      {0x3C, 0x1A, "An I/O abend 3C-1A has occured"},
      {0, 0, "An I/O abend 0-0 has occured"},
      {-1, 255, "An I/O abend FFFFFFFF-FF has occured"},
      {-2147483647 - 1, 0xABCDEF, "An I/O abend 80000000-ABCDEF has occured"}};
  for (auto [first, second, message] : cases) EXPECT_EQ(message, IOAbendException::message(first, second));
  IOAbendException e(0x3C, 0x1A);
  EXPECT_EQ(0x1A, e.second());
  EXPECT_STREQ("I/O error: An I/O abend 3C-1A has occured", e.what());
  EXPECT_STREQ("IOException", e.className());
  std::unique_ptr<Exception> copy(e.clone());
  Exception const& cloned = *copy;
  EXPECT_EQ(typeid(IOException), typeid(cloned));
  EXPECT_EQ(e.message(), copy->message());
}

}  // namespace
}  // namespace vyk
