// SPDX-License-Identifier: Apache-2.0
#include "xml_test_schema.h"
#include "xml_test_support.h"

#include <naxfewxmldb/xml_limits.h>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <chrono>

namespace Nax::FrontEnd::XMLDB {
namespace {

/// A port of this machine that nobody must connect to.
class CListener {
public:
    CListener() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto* plain = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(::bind(m_socket, plain, size), 0);
        EXPECT_EQ(::listen(m_socket, 8), 0);
        EXPECT_EQ(::getsockname(m_socket, plain, &size), 0);
        m_port = ntohs(address.sin_port);
    }
    CListener(const CListener&) = delete;
    CListener& operator=(const CListener&) = delete;
    ~CListener() { ::close(m_socket); }

    std::string Url(const std::string& file) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + "/" + file;
    }
    bool WasAsked() const {
        pollfd waiting = {m_socket, POLLIN, 0};
        return ::poll(&waiting, 1, 50) > 0;
    }

private:
    int m_socket;
    int m_port = 0;
};

std::string EverythingOf(const SXmlTestOutcome& outcome) {
    std::string text;
    for (const SXmlTestFault& fault : outcome.faults) {
        text += fault.reason + "\n" + fault.source + "\n";
    }
    return text;
}

std::string BillionLaughs(const char* use) {
    std::string xml = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
    for (int level = 1; level < 30; ++level) {
        xml += "<!ENTITY e" + std::to_string(level) + " '";
        for (int copy = 0; copy < 10; ++copy) {
            xml += "&e" + std::to_string(level - 1) + ";";
        }
        xml += "'>";
    }
    return xml + "]>" + use;
}

TEST(XmlSafety, ExpansionIsBounded) {
    std::string quadratic = "<!DOCTYPE a [<!ENTITY big '" + std::string(90'000, 'x') + "'>]><a>";
    for (int use = 0; use < 50'000; ++use) {
        quadratic += "&big;";
    }
    std::string defaults =
        "<!DOCTYPE a [<!ATTLIST b c CDATA '" + std::string(90'000, 'x') + "'>]><a>";
    for (int use = 0; use < 50'000; ++use) {
        defaults += "<b/>";
    }
    const std::string cases[] = {
        BillionLaughs("<a>&e29;</a>"),
        BillionLaughs("<a b='&e29;'/>"),
        "<!DOCTYPE a [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><a>&a;</a>",
        "<!DOCTYPE a [<!ENTITY % p '&#37;p;'> %p; ]><a/>",
        quadratic + "</a>",
        defaults + "</a>",
    };
    CRecordingSink sink;
    const CXmlTestFolder folder;
    for (const std::string& xml : cases) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(LoadText(NewDocument(), xml).total, 1) << xml.substr(0, 60);
        EXPECT_EQ(LoadText(ValidatingDocument(SmallSchema), xml).total, 1) << xml.substr(0, 60);
        EXPECT_EQ(LoadInto(NewDocument(), folder.Write("a.xml", xml), sink).total, 1)
            << xml.substr(0, 60);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
        EXPECT_LT(sink.log.size(), 100'000'000U);
        sink.log.clear();
    }
    EXPECT_EQ(NodeTextOf(DocumentOf("<!DOCTYPE a [<!ENTITY e 'x&#38;amp;y'>]><a>&e;</a>")), "x&y");
}

TEST(XmlSafety, ExternalEntitiesAreNeverRead) {
    const CXmlTestFolder folder;
    const std::string secret = "SECRET-CONTENT";
    const std::string file = folder.Write("secret.txt", secret);
    folder.Write("secret.dtd", "<!ENTITY fromdtd '" + secret + "'>");
    struct SCase {
        std::string document;
        const char* named; ///< part of the reason
    };
    const SCase cases[] = {
        {"<!DOCTYPE a [<!ENTITY ext SYSTEM 'file://" + file + "'>]><a>&ext;</a>", "\"ext\""},
        {"<!DOCTYPE a [<!ENTITY ext SYSTEM 'secret.txt'>]><a>&ext;</a>", "\"ext\""},
        {"<!DOCTYPE a [<!ENTITY ext SYSTEM 'secret.txt'><!ENTITY in '&ext;'>]><a>&in;</a>",
         "\"ext\""},
        {"<!DOCTYPE a [<!ENTITY ext SYSTEM 'secret.txt'>]><a b='&ext;'/>", "\"ext\""},
        {"<!DOCTYPE a [<!ENTITY % ext SYSTEM 'secret.dtd'> %ext; ]><a>&fromdtd;</a>", "\"ext\""},
        {"<!DOCTYPE a SYSTEM 'secret.dtd'><a>&fromdtd;</a>", "fromdtd"},
    };
    for (const SCase& row : cases) {
        const std::string path = folder.Write("doc.xml", row.document);
        CRecordingSink sink;
        const IXMLDOMDocument2Ptr plain = NewDocument();
        for (const SXmlTestOutcome& outcome :
             {Load(plain, path), Load(ValidatingDocument(SmallSchema), path),
              LoadInto(NewDocument(), path, sink)}) {
            EXPECT_EQ(outcome.total, 1) << row.document;
            EXPECT_NE(EverythingOf(outcome).find(row.named), std::string::npos)
                << row.document << EverythingOf(outcome);
            EXPECT_EQ(EverythingOf(outcome).find(secret), std::string::npos) << row.document;
        }
        EXPECT_EQ(XmlOf(plain).find(secret), std::string::npos) << row.document;
        EXPECT_EQ(sink.log.find(secret), std::string::npos) << row.document;
    }
    // An external entity that nobody refers to, and a DTD that is not needed, do no harm.
    EXPECT_TRUE(LoadText(NewDocument(), "<!DOCTYPE a SYSTEM 'x.dtd' [<!ENTITY e SYSTEM 'y'>]><a/>")
                    .successful);
}

TEST(XmlSafety, NothingConnects) {
    const CListener listener;
    const CXmlTestFolder folder;
    const std::string url = listener.Url("x.xsd");
    const std::string xs = "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>";
    folder.Write("inner.xsd", xs + "<xs:include schemaLocation='" + url + "'/></xs:schema>");
    const std::string schemas[] = {
        xs + "<xs:include schemaLocation='" + url + "'/><xs:element name='a'/></xs:schema>",
        xs + "<xs:import namespace='urn:x' schemaLocation='" + url +
            "'/><xs:element name='a'/></xs:schema>",
        xs + "<xs:redefine schemaLocation='" + url + "'/><xs:element name='a'/></xs:schema>",
        xs + "<xs:include schemaLocation='inner.xsd'/><xs:element name='a'/></xs:schema>",
    };
    for (const std::string& schema : schemas) {
        IXMLDOMSchemaCollection2Ptr collection;
        ASSERT_EQ(collection.CreateInstance(CLSID_XMLSchemaCache60), S_OK);
        const std::string path = folder.Write("outer.xsd", schema);
        collection->add(_bstr_t("").GetBSTR(), _variant_t(path.c_str()));
    }
    const std::string documents[] = {
        "<!DOCTYPE a SYSTEM '" + url + "'><a/>",
        "<!DOCTYPE a PUBLIC 'p' '" + url + "' [<!ENTITY % p SYSTEM '" + url + "'> %p;]><a/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM '" + url + "'>]><a>&e;</a>",
        "<?oasis-xml-catalog catalog='" + url + "'?><!DOCTYPE a SYSTEM 'x'><a/>",
        "<a xmlns:i='http://www.w3.org/2001/XMLSchema-instance' i:noNamespaceSchemaLocation='" +
            url + "' i:schemaLocation='urn:x " + url + "'/>",
        "<a xmlns:x='http://www.w3.org/2001/XInclude'><x:include href='" + url + "'/></a>"};
    for (const std::string& document : documents) {
        LoadText(NewDocument(), document);
        LoadText(ValidatingDocument(SmallSchema), document);
    }
    EXPECT_EQ(Load(NewDocument(), url).total, 1);
    EXPECT_FALSE(listener.WasAsked());
}

TEST(XmlSafety, DoctypeCanBeProhibited) {
    const IXMLDOMDocument2Ptr document = ValidatingDocument(SmallSchema);
    const std::string xml = "<!DOCTYPE Root [<!ENTITY u 'u'>]>\n<Root updated='&u;'/>";
    EXPECT_TRUE(LoadText(document, xml).successful);
    const _variant_t on(static_cast<short>(-1));
    EXPECT_EQ(document->setProperty(_bstr_t("ProhibitDTD"), on), S_OK);
    EXPECT_EQ(document->setProperty(_bstr_t("NoSuchProperty"), on), E_INVALIDARG);
    for (const bool validate : {true, false}) {
        const _variant_t value(static_cast<short>(validate ? -1 : 0));
        EXPECT_EQ(document->setProperty(_bstr_t("ValidateOnParse"), value), S_OK);
        const SXmlTestOutcome outcome = LoadText(document, xml);
        ASSERT_EQ(outcome.total, 1);
        EXPECT_NE(outcome.faults[0].reason.find("DOCTYPE"), std::string::npos);
        EXPECT_EQ(outcome.faults[0].line, 1);
    }
}

TEST(XmlSafety, DepthNeedsNoStack) {
    constexpr int depth = 99'000;
    std::string xml = "<Root updated='u'><Items>";
    for (int level = 0; level < depth; ++level) {
        xml += "<Item>";
    }
    const std::string open = xml;
    xml += "<Item n='x'/>";
    for (int level = 0; level < depth; ++level) {
        xml += "</Item>";
    }
    xml += "</Items></Root>";
    EXPECT_EQ(LoadText(ValidatingDocument(SmallSchema), xml).total, 1);
    EXPECT_EQ(LoadText(ValidatingDocument(SmallSchema), open).total, 1);
    const IXMLDOMDocument2Ptr document = DocumentOf(xml);
    EXPECT_EQ(XmlOf(document).size(), xml.size());
    EXPECT_EQ(NodeTextOf(document), "");
    EXPECT_EQ(document->put_preserveWhiteSpace(VARIANT_FALSE), S_OK);
    EXPECT_TRUE(LoadText(document, xml).successful);
}

TEST(XmlSafety, LimitsAreTheHosts) {
    struct SCase {
        const char* xml;
        std::uint64_t SXmlLimits::*limit;
        std::uint64_t enough;
        const char* name;
        long line;
    };
    const SCase cases[] = {
        {"<a>\n<b>\n<c/></b></a>", &SXmlLimits::depth, 3, "depth", 3},
        {"<a>\n<b x='='/><b\nx='1' y='2'/></a>", &SXmlLimits::attributes, 2, "attributes", 2},
        {"<a>\n<b>\n</b><bcd x='>'\n/></a>", &SXmlLimits::tagSize, 12, "tag-size", 3},
        {"<a>\n1<!-- > -->2<![CDATA[]>]]>\n</a>", &SXmlLimits::textSize, 9, "text-size", 2},
        {"<!--\n- ->-->\n<a><?p ?x?></a>", &SXmlLimits::textSize, 8, "text-size", 1},
        {"<!DOCTYPE a [<!-- ' ]> --><?p ]> ?>\n<!ENTITY e ']>'>]>\n<a>12</a>",
         &SXmlLimits::doctypeSize, 52, "doctype-size", 1},
        {"<!DOCTYPE a\n[<!ENTITY e '&#60;'><!ATTLIST b c CDATA 'd' e CDATA '>'>]>\n<a>\n<b/></a>",
         &SXmlLimits::attributes, 2, "attributes", 4},
        {"<a>\n<b>\n</b></a>\n", &SXmlLimits::fileSize, 17, "file-size", 3},
    };
    const SXmlLimits defaults = GetXmlLimits();
    for (const SCase& row : cases) {
        SXmlLimits limits;
        limits.advice = "Try -l %s.";
        limits.*row.limit = row.enough;
        SetXmlLimits(limits);
        const CXmlTestFolder folder;
        const std::string path = folder.Write("a.xml", row.xml);
        CRecordingSink sink;
        EXPECT_TRUE(LoadInto(NewDocument(), path, sink).successful) << row.xml;
        limits.*row.limit = row.enough - 1;
        SetXmlLimits(limits);
        const SXmlTestOutcome outcome = LoadInto(NewDocument(), path, sink);
        EXPECT_EQ(outcome.total, 1) << row.xml;
        EXPECT_NE(outcome.faults.at(0).reason.find(std::string("Try -l ") + row.name + "."),
                  std::string::npos)
            << row.xml << outcome.faults[0].reason;
        EXPECT_EQ(outcome.faults[0].line, row.line) << row.xml;
        EXPECT_TRUE(LoadText(NewDocument(), row.xml).successful) << "trees have the defaults";
    }
    SetXmlLimits(defaults);
}

TEST(XmlSafety, CutInputHasOneFault) {
    const std::string xml =
        "<?xml version='1.0' encoding='UTF-8'?>\n<!DOCTYPE Root [<!ENTITY e 'ü'>]>\n"
        "<!-- c --><Root updated='u'>\n<Items><Item any=\"&e;&amp;\">"
        "<Memo xml:space='preserve'>ä<![CDATA[<x>]]></Memo></Item></Items><?pi x?></Root>";
    const CXmlTestFolder folder;
    const IXMLDOMDocument2Ptr validating = ValidatingDocument(SmallSchema);
    const IXMLDOMDocument2Ptr plain = NewDocument();
    ASSERT_TRUE(LoadText(validating, xml).successful);
    for (std::size_t length = 0; length < xml.size(); ++length) {
        const std::string path = folder.Write("cut.xml", std::string_view(xml).substr(0, length));
        for (const SXmlTestOutcome& outcome : {Load(validating, path), Load(plain, path)}) {
            EXPECT_EQ(outcome.total, 1) << length;
            EXPECT_NE(outcome.faults[0].reason, "") << length;
            EXPECT_NE(outcome.faults[0].code, 0) << length;
        }
        IXMLDOMElementPtr root;
        EXPECT_EQ(plain->get_documentElement(&root), S_FALSE) << length;
    }
}

TEST(XmlSafety, FilesThatCannotBeReadAreOneFault) {
    const CXmlTestFolder folder;
    const std::string empty = folder.Write("empty.xml", "");
    const std::string locked = folder.Write("locked.xml", "<a/>");
    ::chmod(locked.c_str(), 0);
    struct SCase {
        std::string path;
        const char* reason;
    };
    std::vector<SCase> cases = {
        {folder.Path("missing.xml"), "cannot be opened: No such file or directory."},
        {folder.Path(""), "is a directory, not a file."},
        {empty, "is empty."},
        {"http://localhost/a.xml", "is not a local file"},
        {"file://elsewhere/a.xml", "names another host"},
    };
    if (::access(locked.c_str(), R_OK) != 0) {
        cases.push_back({locked, "cannot be opened: Permission denied."});
    }
    for (const SCase& row : cases) {
        for (const IXMLDOMDocument2Ptr& document :
             {NewDocument(), ValidatingDocument(SmallSchema)}) {
            const SXmlTestOutcome outcome = Load(document, row.path);
            ASSERT_EQ(outcome.total, 1) << row.path;
            EXPECT_NE(outcome.faults[0].reason.find(row.reason), std::string::npos)
                << outcome.faults[0].reason;
            EXPECT_EQ(outcome.faults[0].line, 0) << row.path;
            EXPECT_EQ(outcome.result, S_FALSE);
        }
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
