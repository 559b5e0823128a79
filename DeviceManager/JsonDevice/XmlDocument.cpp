#include "DeviceManager/JsonDevice/XmlDocument.h"

#include <new>
#include <set>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "Common/Exceptions.h"

using namespace XERCES_CPP_NAMESPACE;

namespace JsonDevice {

namespace {

[[noreturn]] void refuse(int line, const wchar_t* message) {
    throw KorvanParseException("DeviceManager/JsonDevice/XmlDocument", line, message);
}

/// xerces counts its users. The library is one from its first document until it is
/// unloaded; a host that has documents of its own is another.
class XercesUse {
public:
    XercesUse() { XMLPlatformUtils::Initialize(); }
    XercesUse(const XercesUse&) = delete;
    XercesUse& operator=(const XercesUse&) = delete;
    ~XercesUse() { XMLPlatformUtils::Terminate(); }
};

void initialiseXerces() {
    static const XercesUse use;
}

/// Whether a start tag may have more attributes than are allowed, told by the
/// equals signs between two "<". Asked before the parsing, since xerces compares
/// each attribute of an element with all others.
bool mayHaveTooManyAttributes(std::string_view utf8) {
    std::size_t signs = 0;
    for (const char c : utf8) {
        if (c == '<') {
            signs = 0;
        } else if (c == '=' && ++signs > XmlDocument::mostAttributes) {
            return true;
        }
    }
    return false;
}

/// Ends the parsing where elements stand too deep or have too many names, which
/// xerces looks up in tables of a few dozen chains.
class Limits : public DOMLSParserFilter {
public:
    FilterAction startElement(DOMElement* element) override {
        if (names.emplace(element->getNodeName()).second && names.size() > XmlDocument::mostNames) {
            return FILTER_INTERRUPT;
        }
        std::size_t depth = 0;
        for (const DOMNode* node = element; node != nullptr; node = node->getParentNode()) {
            if (++depth > XmlDocument::largestDepth + 1) {  // the document itself is the last parent
                return FILTER_INTERRUPT;
            }
        }
        return FILTER_ACCEPT;
    }
    FilterAction acceptNode(DOMNode*) override { return FILTER_ACCEPT; }
    DOMNodeFilter::ShowType getWhatToShow() const override { return DOMNodeFilter::SHOW_ELEMENT; }

private:
    std::set<std::u16string> names;
};

/// Ends the parsing at the first error; without it xerces would go on.
class StopAtErrors : public DOMErrorHandler {
public:
    bool handleError(const DOMError& error) override {
        failed = failed || error.getSeverity() != DOMError::DOM_SEVERITY_WARNING;
        return !failed;
    }
    bool failed = false;
};

struct Release {
    template <class Object>
    void operator()(Object* object) const {
        object->release();
    }
};

DOMDocument* parse(std::string_view utf8) {
    initialiseXerces();
    auto* const implementation =
        static_cast<DOMImplementationLS*>(DOMImplementationRegistry::getDOMImplementation(u"LS"));
    StopAtErrors errors;
    Limits limits;
    SecurityManager security;
    security.setEntityExpansionLimit(0);
    MemBufInputSource buffer(reinterpret_cast<const XMLByte*>(utf8.data()), utf8.size(), "tmpSrc");
    // Whatever encoding the text declares: it arrived as UTF-8.
    buffer.setEncoding(XMLUni::fgUTF8EncodingString);
    const Wrapper4InputSource input(&buffer, false);

    const std::unique_ptr<DOMLSParser, Release> parser(
        implementation->createLSParser(DOMImplementationLS::MODE_SYNCHRONOUS, nullptr));
    DOMConfiguration& configuration = *parser->getDomConfig();
    configuration.setParameter(XMLUni::fgDOMDatatypeNormalization, true);
    configuration.setParameter(XMLUni::fgXercesUserAdoptsDOMDocument, true);
    configuration.setParameter(XMLUni::fgDOMDisallowDoctype, true);
    configuration.setParameter(XMLUni::fgXercesLoadExternalDTD, false);
    configuration.setParameter(XMLUni::fgXercesLoadSchema, false);
    configuration.setParameter(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    configuration.setParameter(XMLUni::fgXercesSecurityManager, &security);
    configuration.setParameter(XMLUni::fgDOMErrorHandler, &errors);
    parser->setFilter(&limits);

    std::unique_ptr<DOMDocument, Release> document(parser->parse(&input));
    if (errors.failed || document == nullptr || document->getDocumentElement() == nullptr ||
        document->getDoctype() != nullptr) {
        refuse(__LINE__, L"The text is not the XML that is expected");
    }
    return document.release();
}

}  // namespace

XmlDocument::XmlDocument(std::string_view utf8) {
    if (utf8.size() > largestSize) {
        refuse(__LINE__, L"The XML text is too large");
    }
    // Looked for in the text itself: nothing of a declaration is worth being scanned.
    if (utf8.find("<!DOCTYPE") != std::string_view::npos) {
        refuse(__LINE__, L"The XML text has a document type declaration");
    }
    if (mayHaveTooManyAttributes(utf8)) {
        refuse(__LINE__, L"An element of the XML text has too many attributes");
    }
    try {
        document = parse(utf8);
    } catch (const OutOfMemoryException&) {
        throw std::bad_alloc();
    } catch (const XMLException&) {
        refuse(__LINE__, L"The text is not XML");
    } catch (const SAXException&) {
        refuse(__LINE__, L"The text is not XML");
    } catch (const DOMException&) {
        refuse(__LINE__, L"The text is not XML");
    }
    root = document->getDocumentElement();
}

XmlDocument::~XmlDocument() {
    document->release();
}

}  // namespace JsonDevice
