// The exception tree: names, display texts, cloning and nested exceptions.
#include "vyk/util/Exception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <typeinfo>

namespace vyk {
namespace {

TEST(ExceptionTree, NamesAndClassNamesOfEveryKindOfBranch) {
  struct Case {
    Exception* e;
    char const* name;
    char const* className;
  };
  Case const cases[] = {
      {new ApplicationException, "Application exception", "ApplicationException"},
      {new DatabaseException, "DATABASE error", "DatabaseException"},
      {new RangeException, "Out of range", "RangeException"},
      {new SignalException, "Signal received", "SignalException"},
      {new UnhandledException, "Signal received", "UnhandledException"},
      {new ConvolutionException, "Input convolution option is incorrect.", "ConvolutionException"},
      {new CharConverterOverflowException, "Character encoding conversion, buffer overflow",
       "CharConverterOverflowException"},
      {new PathSyntaxException, "Bad path syntax", "PathSyntaxException"},
      {new NoSpaceException, "No space left on device", "NoSpaceException"},
      {new FileSharingViolationException, "File is in use by another process", "FileSharingViolationException"},
      {new SSLUnknownRootCertException, "Certificate chain is valid, but root is not trusted",
       "SSLUnknownRootCertException"},
      {new RegularExpressionException, "Error in regular exception", "RegularExpressionException"},
      {new ZosFloatingPointExponentOverflowException, "z/OS floating point computation overflowed exponent",
       "ZosFloatingPointExponentOverflowException"},
      {new tracelog::LogAppenderException, "LogAppenderException", "LogAppenderException"},
  };
  for (Case const& c : cases) {
    std::unique_ptr<Exception> owner(c.e);
    SCOPED_TRACE(c.className);
    EXPECT_STREQ(c.name, c.e->name());
    EXPECT_STREQ(c.className, c.e->className());
    EXPECT_STREQ(c.name, c.e->what());
    std::unique_ptr<Exception> copy(c.e->clone());
    Exception& original = *c.e;
    Exception& cloned = *copy;
    EXPECT_EQ(typeid(original), typeid(cloned));
  }
}

TEST(ExceptionTree, DisplayTextJoinsNameMessageAndArgument) {
  struct Case {
    char const* message;
    char const* arg;
    char const* expected;
  };
  Case const cases[] = {
      {"", "", "File not found"},
      {"a.txt", "", "File not found: a.txt"},
      {"a.txt", "open", "File not found: a.txt (open)"},
      {"", "open", "File not found (open)"},
  };
  for (Case const& c : cases) {
    FileNotFoundException e(c.message, c.arg);
    EXPECT_EQ(c.expected, e.displayText());
    EXPECT_STREQ(c.expected, e.what());
  }
}

TEST(ExceptionTree, PlainExceptionReportsItsRunTimeTypeName) {
  Exception e("m");
  EXPECT_STREQ("Exception", e.name());
  EXPECT_STREQ(typeid(Exception).name(), e.className());
  EXPECT_NE('*', e.className()[0]);
}

namespace {
struct LocalFailure : Exception {};
}  // namespace

TEST(ExceptionTree, ClassInAnonymousNamespaceHasNoMarkerInItsName) {
  LocalFailure e;
  EXPECT_NE('*', e.className()[0]);
  EXPECT_NE(nullptr, std::strstr(e.className(), "LocalFailure"));
}

TEST(ExceptionTree, CloneKeepsDynamicTypeAndCatchesThroughEveryBase) {
  NoSpaceException original("disk", "write");
  std::unique_ptr<Exception> copy(original.clone());
  EXPECT_NE(nullptr, dynamic_cast<NoSpaceException*>(copy.get()));
  EXPECT_NE(nullptr, dynamic_cast<WriteFileException*>(copy.get()));
  EXPECT_NE(nullptr, dynamic_cast<FileException*>(copy.get()));
  EXPECT_NE(nullptr, dynamic_cast<IOException*>(copy.get()));
  EXPECT_NE(nullptr, dynamic_cast<RuntimeException*>(copy.get()));
  EXPECT_EQ("disk", copy->message());
  EXPECT_EQ("write", copy->arg());
  try {
    throw original;
  } catch (WriteFileException const& e) {
    EXPECT_STREQ("No space left on device: disk (write)", e.what());
  }
}

TEST(ExceptionTree, NestedExceptionIsDeepCopied) {
  auto outer = std::make_unique<IOException>("outer", FileNotFoundException("inner", "arg"));
  ASSERT_NE(nullptr, outer->nested());
  EXPECT_STREQ("FileNotFoundException", outer->nested()->className());
  EXPECT_EQ("", outer->arg());

  IOException copy(*outer);
  ASSERT_NE(nullptr, copy.nested());
  EXPECT_NE(outer->nested(), copy.nested());
  outer.reset();
  EXPECT_EQ("inner", copy.nested()->message());
  EXPECT_STREQ("I/O error: outer", copy.what());  // the nested one is not displayed
}

TEST(ExceptionTree, AssignmentReplacesNestedAndIsSelfSafe) {
  IOException a("a", DataException("na"));
  IOException b("b");
  IOException& same = a;
  a = same;
  ASSERT_NE(nullptr, a.nested());
  EXPECT_EQ("na", a.nested()->message());

  EXPECT_STREQ("I/O error: a", a.what());
  a = b;
  EXPECT_EQ(nullptr, a.nested());
  EXPECT_STREQ("I/O error: b", a.what());

  b = IOException("c", RangeException("nc"));
  a = b;
  ASSERT_NE(nullptr, a.nested());
  EXPECT_NE(b.nested(), a.nested());
  EXPECT_STREQ("RangeException", a.nested()->className());
}

TEST(IOAbendException, MessageInHexAndCloneIsPlainIOException) {
  struct Case {
    int first, second;
    char const* message;
  };
  Case const cases[] = {
      {0x3C, 0x1A, "An I/O abend 3C-1A has occured"},
      {0, 0, "An I/O abend 0-0 has occured"},
      {-1, 255, "An I/O abend FFFFFFFF-FF has occured"},
      {-2147483647 - 1, 0xABCDEF, "An I/O abend 80000000-ABCDEF has occured"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(c.message, IOAbendException::message(c.first, c.second));
  }
  IOAbendException e(0x3C, 0x1A);
  EXPECT_EQ(0x3C, e.first());
  EXPECT_EQ(0x1A, e.second());
  EXPECT_STREQ("I/O error: An I/O abend 3C-1A has occured", e.what());
  EXPECT_STREQ("IOException", e.className());
  std::unique_ptr<Exception> copy(e.clone());
  Exception& cloned = *copy;
  EXPECT_EQ(typeid(IOException), typeid(cloned));
  EXPECT_EQ(e.message(), copy->message());
}

}  // namespace
}  // namespace vyk
