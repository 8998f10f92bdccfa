// The Xerces error handler and the text conversion shared by the plug-in's XML code.
#include "ConfigTestSupport.h"

#include <Base/GCException.h>
#include <vorla/private/VorlaXercesHelper.h>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/RuntimeException.hpp>
#include <xercesc/util/XMLString.hpp>

#include <memory>

using namespace ConfigTest;

namespace {

struct SXmlText {
  explicit SXmlText(const char* text) : m_text(xercesc::XMLString::transcode(text)) {}
  ~SXmlText() { xercesc::XMLString::release(&m_text); }
  SXmlText(const SXmlText&) = delete;
  SXmlText& operator=(const SXmlText&) = delete;
  XMLCh* m_text;
};

class XercesHelper : public ::testing::Test {
protected:
  std::unique_ptr<xercesc::SAXParseException> Exception(const char* message) {
    SXmlText text(message);
    SXmlText systemId("  /etc/xdg/Hexmar/CLBindings/PortConfiguration_x64.xml ");
    return std::make_unique<xercesc::SAXParseException>(text.m_text, nullptr, systemId.m_text, 12,
                                                        345);
  }

  CXercesScope m_xerces;
  Vorla::DefaultRuntimeExceptionErrorHandler m_handler;
};

TEST_F(XercesHelper, WarningsAreIgnored) {
  EXPECT_NO_THROW(m_handler.warning(*Exception("just a warning")));
}

TEST_F(XercesHelper, ErrorsAndFatalErrorsThrowTheParseErrorText) {
  const std::string expected = "Failed to parse XML file "
                               "'/etc/xdg/Hexmar/CLBindings/PortConfiguration_x64.xml' : "
                               "'expected end of tag 'Port'', line: 12 column: 345";
  const auto exception = Exception(" expected end of tag 'Port'\n");
  try {
    m_handler.error(*exception);
    ADD_FAILURE() << "error() did not throw";
  } catch (const GenICam::RuntimeException& e) {
    EXPECT_EQ(std::string(e.GetDescription()), expected);
    EXPECT_STREQ(e.GetSourceFileName(), "VorlaXercesHelper.cpp");
  }
  try {
    m_handler.fatalError(*exception);
    ADD_FAILURE() << "fatalError() did not throw";
  } catch (const GenICam::RuntimeException& e) {
    EXPECT_EQ(std::string(e.GetDescription()), expected);
  }
}

TEST_F(XercesHelper, ParseErrorTextIsCutAt255Characters) {
  const std::string longMessage(400, 'x');
  try {
    m_handler.fatalError(*Exception(longMessage.c_str()));
    ADD_FAILURE() << "fatalError() did not throw";
  } catch (const GenICam::RuntimeException& e) {
    EXPECT_EQ(std::string(e.GetDescription()).size(), 255u);
  }
}

TEST_F(XercesHelper, TranscodeAndTrim) {
  EXPECT_EQ(Vorla::TranscodeAndTrim(nullptr), "");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText("").m_text), "");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText(" \t\r\n ").m_text), "");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText("\n  a  b \t").m_text), "a  b");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText("TTY#ttyS0").m_text), "TTY#ttyS0");
}

// The exception that RethrowAsGenICamException makes of `thrown`.
template <class F> std::exception_ptr Mapped(F&& thrown) {
  try {
    try {
      thrown();
    } catch (...) {
      Vorla::RethrowAsGenICamException("Failed to parse CL binding file", "Caller.cpp", 77);
    }
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

std::string RuntimeDescription(const std::exception_ptr& e) {
  try {
    std::rethrow_exception(e);
  } catch (const GenICam::RuntimeException& r) {
    EXPECT_STREQ(r.GetSourceFileName(), "Caller.cpp");
    EXPECT_EQ(r.GetSourceLine(), 77u);
    return r.GetDescription();
  } catch (...) {
  }
  ADD_FAILURE() << "not a GenICam::RuntimeException";
  return {};
}

TEST_F(XercesHelper, XercesExceptionsBecomeRuntimeExceptionsOfTheCaller) {
  EXPECT_EQ(RuntimeDescription(Mapped([] { throw xercesc::SAXException("sax failure"); })),
            "Failed to parse CL binding file: sax failure");
  const std::string dom = RuntimeDescription(
      Mapped([] { throw xercesc::DOMException(xercesc::DOMException::NOT_FOUND_ERR); }));
  EXPECT_EQ(dom.rfind("Failed to parse CL binding file: ", 0), 0u) << dom;
  EXPECT_GT(dom.size(), std::string("Failed to parse CL binding file: ").size());
  const std::string xml = RuntimeDescription(Mapped([] {
    throw xercesc::RuntimeException(__FILE__, __LINE__, xercesc::XMLExcepts::CPtr_PointerIsZero);
  }));
  EXPECT_EQ(xml.rfind("Failed to parse CL binding file: ", 0), 0u) << xml;
  EXPECT_GT(xml.size(), std::string("Failed to parse CL binding file: ").size());
}

TEST_F(XercesHelper, StandardExceptionsPassUnchanged) {
  try {
    std::rethrow_exception(Mapped([] { throw RUNTIME_EXCEPTION("from the error handler"); }));
  } catch (const GenICam::RuntimeException& e) {
    EXPECT_STREQ(e.GetDescription(), "from the error handler");
    EXPECT_STREQ(e.GetSourceFileName(), "XercesHelperTest.cpp");
  }
  EXPECT_THROW(std::rethrow_exception(Mapped([] { throw std::bad_alloc(); })), std::bad_alloc);
}

TEST_F(XercesHelper, AnythingElseIsUnspecified) {
  EXPECT_EQ(RuntimeDescription(Mapped([] { throw 42; })),
            "Failed to parse CL binding file: Unspecified exception occurred");
}

} // namespace
