#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLFileMgr.hpp>
#include <xercesc/util/XMLNetAccessor.hpp>
#include <xercesc/util/XMLURL.hpp>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/XmlDocument.h"

namespace {

using JsonDevice::XmlDocument;

std::string rootName(const XmlDocument& document) {
    std::string name;
    for (const XMLCh* next = document.getRoot().getTagName(); *next != 0; ++next) {
        name += static_cast<char>(*next);
    }
    return name;
}

std::string nested(std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += "<a>";
    }
    for (std::size_t i = 0; i < depth; ++i) {
        text += "</a>";
    }
    return text;
}

/// Counts what xerces asks of the file system and of the network, and denies it.
class AccessCounter {
public:
    AccessCounter()
        : formerFiles(xercesc::XMLPlatformUtils::fgFileMgr),
          formerNet(xercesc::XMLPlatformUtils::fgNetAccessor) {
        files.count = &accesses;
        net.count = &accesses;
        xercesc::XMLPlatformUtils::fgFileMgr = &files;
        xercesc::XMLPlatformUtils::fgNetAccessor = &net;
    }
    ~AccessCounter() {
        xercesc::XMLPlatformUtils::fgFileMgr = formerFiles;
        xercesc::XMLPlatformUtils::fgNetAccessor = formerNet;
    }
    int accesses = 0;

private:
    using Manager = xercesc::MemoryManager* const;
    class Files : public xercesc::XMLFileMgr {
    public:
        xercesc::FileHandle fileOpen(const XMLCh*, bool, Manager) override { return denied(); }
        xercesc::FileHandle fileOpen(const char*, bool, Manager) override { return denied(); }
        xercesc::FileHandle openStdIn(Manager) override { return denied(); }
        void fileClose(xercesc::FileHandle, Manager) override {}
        void fileReset(xercesc::FileHandle, Manager) override {}
        XMLFilePos curPos(xercesc::FileHandle, Manager) override { return 0; }
        XMLFilePos fileSize(xercesc::FileHandle, Manager) override { return 0; }
        XMLSize_t fileRead(xercesc::FileHandle, XMLSize_t, XMLByte*, Manager) override { return 0; }
        void fileWrite(xercesc::FileHandle, XMLSize_t, const XMLByte*, Manager) override {}
        XMLCh* getFullPath(const XMLCh* path, Manager manager) override { return copy(path, manager); }
        XMLCh* getCurrentDirectory(Manager manager) override { return copy(u"/", manager); }
        bool isRelative(const XMLCh* path, Manager) override { return *path != u'/'; }
        int* count = nullptr;

    private:
        static XMLCh* copy(const XMLCh* text, Manager manager) {
            return xercesc::XMLString::replicate(text, manager);
        }
        xercesc::FileHandle denied() {
            ++*count;
            return nullptr;
        }
    };
    class Net : public xercesc::XMLNetAccessor {
    public:
        const XMLCh* getId() const override { return u"counter"; }
        xercesc::BinInputStream* makeNew(const xercesc::XMLURL&, const xercesc::XMLNetHTTPInfo*) override {
            ++*count;
            return nullptr;
        }
        int* count = nullptr;
    };
    Files files;
    Net net;
    xercesc::XMLFileMgr* formerFiles;
    xercesc::XMLNetAccessor* formerNet;
};

TEST(XmlDocument, GivesTheRootElement) {
    EXPECT_EQ(rootName(XmlDocument("<a><b/></a>")), "a");
    EXPECT_EQ(
        rootName(XmlDocument("\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?>\n<!-- c --><x y='1'/> ")),
        "x");
}

TEST(XmlDocument, TakesTextAsUtf8WhateverItDeclares) {
    EXPECT_EQ(rootName(XmlDocument("<?xml version='1.0' encoding='UTF-16'?><x/>")), "x");
    EXPECT_EQ(rootName(XmlDocument("<?xml version='1.0' encoding='no-such-encoding'?><x/>")), "x");
    EXPECT_THROW(XmlDocument("<x>\xFF</x>"), KorvanParseException);
}

TEST(XmlDocument, RefusesWhatIsNotWellFormed) {
    for (const std::string text :
         {"", " ", "x", "<", "<a>", "<a></b>", "<a/><b/>", "<a b=c/>", "<a>&undefined;</a>", "<a>&#0;</a>",
          "<a b='1' b='2'/>", "<x:a/>", "<?xml version='3.0'?><a/>", "<!-- only -->", "<a>]]></a>"}) {
        EXPECT_THROW(XmlDocument{text}, KorvanParseException) << text;
    }
    EXPECT_THROW(XmlDocument(std::string_view("<a>\0</a>", 8)), KorvanParseException);
}

TEST(XmlDocument, RefusesEveryTruncation) {
    const std::string good = "<?xml version='1.0'?><a b='1'><![CDATA[<]]>&amp;<!-- c --><c/></a>";
    ASSERT_NO_THROW(XmlDocument{good});
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_THROW(XmlDocument{good.substr(0, length)}, KorvanParseException) << length;
    }
}

TEST(XmlDocument, RefusesDocumentTypeDeclarations) {
    for (const char* text :
         {"<!DOCTYPE a><a/>", "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>",
          "<?xml version='1.0'?>\n<!-- c -->\n<!DOCTYPE a [<!ENTITY e SYSTEM "
          "'file:///etc/passwd'>]><a>&e;</a>",
          "<!DOCTYPE a [<!ENTITY b 'xxxxxxxx'><!ENTITY c '&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;'>]><a>&d;</a>",
          "<a><!DOCTYPE a></a>"}) {
        EXPECT_THROW(XmlDocument{text}, KorvanParseException) << text;
    }
}

TEST(XmlDocument, BoundsDepthAndSize) {
    EXPECT_NO_THROW(XmlDocument{nested(XmlDocument::largestDepth)});
    EXPECT_THROW(XmlDocument{nested(XmlDocument::largestDepth + 1)}, KorvanParseException);
    EXPECT_THROW(XmlDocument{nested(100'000)}, KorvanParseException);
    const std::string large(XmlDocument::largestSize - 7, 'x');
    EXPECT_NO_THROW(XmlDocument{"<a>" + large + "</a>"});
    EXPECT_THROW(XmlDocument{"<a>x" + large + "</a>"}, KorvanParseException);
}

std::string withAttributes(std::size_t count, const std::string& value) {
    std::string text = "<a";
    for (std::size_t i = 0; i < count; ++i) {
        text += " a" + std::to_string(i) + "='" + value + "'";
    }
    return text + "/>";
}

std::string withNames(std::size_t count) {
    std::string text = "<a0>";
    for (std::size_t i = 1; i < count; ++i) {
        text += "<a" + std::to_string(i) + "/><a0/>";
    }
    return text + "</a0>";
}

// xerces takes a time that grows with their square: minutes within the largest size.
TEST(XmlDocument, BoundsAttributesAndNames) {
    EXPECT_NO_THROW(XmlDocument{withAttributes(XmlDocument::mostAttributes, ">")});
    EXPECT_THROW(XmlDocument{withAttributes(XmlDocument::mostAttributes + 1, ">")}, KorvanParseException);
    EXPECT_NO_THROW(XmlDocument{withNames(XmlDocument::mostNames)});
    EXPECT_THROW(XmlDocument{withNames(XmlDocument::mostNames + 1)}, KorvanParseException);

    std::string many = "<a>";
    for (std::size_t i = 0; i < 1000; ++i) {
        many += withAttributes(XmlDocument::mostAttributes, "");
    }
    EXPECT_NO_THROW(XmlDocument{many + "</a>"});
}

TEST(XmlDocument, TouchesNoFileAndNoNetwork) {
    ASSERT_NO_THROW(XmlDocument{"<a/>"});  // initialises xerces
    AccessCounter counter;
    // A parser that is left as it is does look there, so the counter sees what it should.
    for (const std::string text :
         {"<!DOCTYPE a SYSTEM '/tmp/none.dtd'><a/>", "<!DOCTYPE a SYSTEM 'http://127.0.0.1/none.dtd'><a/>"}) {
        const int before = counter.accesses;
        xercesc::XercesDOMParser plain;
        const xercesc::MemBufInputSource input(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                               "test");
        try {
            plain.parse(input);
        } catch (const xercesc::XMLException&) {
        }
        ASSERT_GT(counter.accesses, before) << text;
    }
    counter.accesses = 0;
    const std::string instance = "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' ";
    for (const std::string& text : std::vector<std::string>{
             "<!DOCTYPE a SYSTEM '/tmp/none.dtd'><a/>", "<!DOCTYPE a SYSTEM 'http://127.0.0.1/none.dtd'><a/>",
             "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>",
             "<!DOCTYPE a [<!ENTITY % e SYSTEM 'http://127.0.0.1/'>%e;]><a/>",
             "<a " + instance + "xsi:noNamespaceSchemaLocation='http://127.0.0.1/a.xsd'/>",
             "<a " + instance + "xmlns='u' xsi:schemaLocation='u file:///tmp/a.xsd'/>",
             "<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href='/etc/passwd' "
             "parse='text'/></a>",
             "<?xml-stylesheet href='http://127.0.0.1/a.xsl' type='text/xsl'?><a/>"}) {
        try {
            XmlDocument document(text);
        } catch (const KorvanParseException&) {
        }
        EXPECT_EQ(counter.accesses, 0) << text;
    }
}

TEST(XmlDocument, IsSafeFromSeveralThreadsFromTheStart) {
    std::atomic<int> good = 0;
    std::atomic<int> refused = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                good += rootName(XmlDocument("<a><b/></a>")) == "a";
                try {
                    XmlDocument("<a>");
                } catch (const KorvanParseException&) {
                    ++refused;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, 200);
    EXPECT_EQ(refused, 200);
}

TEST(XmlDocument, LivesBesideAHostThatUsesXerces) {
    xercesc::XMLPlatformUtils::Initialize();
    EXPECT_EQ(rootName(XmlDocument("<a/>")), "a");
    xercesc::XMLPlatformUtils::Terminate();
    EXPECT_EQ(rootName(XmlDocument("<b/>")), "b");
}

}  // namespace
