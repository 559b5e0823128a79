#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
XERCES_CPP_NAMESPACE_END

namespace JsonDevice {

/// A small XML text from the network, parsed in memory. A text with a document
/// type declaration is refused, and so is one beyond the largest size or depth, with
/// more "=" than mostAttributes between two "<", or with elements of more than
/// mostNames names; no file and no network is touched whatever the text asks for.
///
/// Any number of threads may parse at once, each its own document. xerces is
/// initialised with the first document and stays so; a host may use it too, but
/// must not initialise or terminate it on another thread while the first
/// document is made, which xerces itself does not allow.
class XmlDocument {
public:
    static constexpr std::size_t largestSize = 1 << 20;
    static constexpr std::size_t largestDepth = 64;
    static constexpr std::size_t mostAttributes = 32;
    static constexpr std::size_t mostNames = 256;

    /// Throws KorvanParseException for a text that is refused, std::bad_alloc.
    explicit XmlDocument(std::string_view utf8);
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;
    ~XmlDocument();

    /// The root element, which every document has. Lives as long as this object.
    const XERCES_CPP_NAMESPACE::DOMElement& getRoot() const { return *root; }

private:
    XERCES_CPP_NAMESPACE::DOMDocument* document = nullptr;
    const XERCES_CPP_NAMESPACE::DOMElement* root = nullptr;
};

}  // namespace JsonDevice
