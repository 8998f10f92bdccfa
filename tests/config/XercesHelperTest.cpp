// The Xerces error handler and the text conversion shared by the plug-in's XML code.
#include "ConfigTestSupport.h"

#include <Base/GCException.h>
#include <vorla/private/VorlaXercesHelper.h>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/RuntimeException.hpp>
#include <xercesc/util/XMLString.hpp>

#include <gmock/gmock.h>

#include <functional>
#include <memory>

using namespace ConfigTest;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

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

//! What `call` throws as "description @file:line", or the what() of anything else.
std::string Raised(const std::function<void()>& call) {
  try {
    call();
  } catch (const GenICam::RuntimeException& e) {
    return std::string(e.GetDescription()) + " @" + e.GetSourceFileName() + ":" +
           std::to_string(e.GetSourceLine());
  } catch (const std::exception& e) {
    return std::string("other: ") + e.what();
  }
  return "(nothing thrown)";
}

// The exception that RethrowAsGenICamException makes of `thrown`.
std::string Mapped(const std::function<void()>& thrown) {
  return Raised([&] {
    try {
      thrown();
    } catch (...) {
      Vorla::RethrowAsGenICamException("Failed to parse CL binding file", "Caller.cpp", 77);
    }
  });
}

} // namespace

TEST_F(XercesHelper, WarningsAreIgnoredErrorsThrowTheParseError) {
  EXPECT_NO_THROW(m_handler.warning(*Exception("just a warning")));
  const std::string expected = "Failed to parse XML file "
                               "'/etc/xdg/Hexmar/CLBindings/PortConfiguration_x64.xml' : "
                               "'expected end of tag 'Port'', line: 12 column: 345 "
                               "@VorlaXercesHelper.cpp:";
  const auto exception = Exception(" expected end of tag 'Port'\n");
  EXPECT_THAT(Raised([&] { m_handler.error(*exception); }), StartsWith(expected));
  EXPECT_THAT(Raised([&] { m_handler.fatalError(*exception); }), StartsWith(expected));
}

TEST_F(XercesHelper, TranscodeAndTrim) {
  EXPECT_EQ(Vorla::TranscodeAndTrim(nullptr), "");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText("").m_text), "");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText(" \t\r\n ").m_text), "");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText("\n  a  b \t").m_text), "a  b");
  EXPECT_EQ(Vorla::TranscodeAndTrim(SXmlText("TTY#ttyS0").m_text), "TTY#ttyS0");
}

// Xerces' exceptions become runtime exceptions of the caller; GenICam's and the standard ones
// pass unchanged.
TEST_F(XercesHelper, XercesExceptionsBecomeRuntimeExceptionsOfTheCaller) {
  const std::string prefix = "Failed to parse CL binding file: ";
  EXPECT_EQ(Mapped([] { throw xercesc::SAXException("sax failure"); }),
            prefix + "sax failure @Caller.cpp:77");
  EXPECT_THAT(Mapped([] { throw xercesc::DOMException(xercesc::DOMException::NOT_FOUND_ERR); }),
              MatchesRegex(prefix + ".+ @Caller\\.cpp:77"));
  EXPECT_THAT(Mapped([] {
                throw xercesc::RuntimeException(__FILE__, __LINE__,
                                                xercesc::XMLExcepts::CPtr_PointerIsZero);
              }),
              MatchesRegex(prefix + ".+ @Caller\\.cpp:77"));
  EXPECT_THAT(Mapped([] { throw RUNTIME_EXCEPTION("from the error handler"); }),
              StartsWith("from the error handler @XercesHelperTest.cpp:"));
  EXPECT_EQ(Mapped([] { throw std::bad_alloc(); }), "other: std::bad_alloc");
}
