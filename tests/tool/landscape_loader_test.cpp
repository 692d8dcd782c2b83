// SPDX-License-Identifier: Apache-2.0
// The two ways of entries into the database: inserted while their file is read, or one by one.
#include "landscape_loader.h"
#include "landscape_writer.h"
#include "small_landscape.h"
#include "tool/database_reader.h"
#include "tool/scratch_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace LandscapeValidator::Testing {
namespace {

using namespace Nax::FrontEnd::XMLDB;
using namespace Nax::FrontEnd::XMLDB::Bench;

struct SLoaded {
    std::vector<std::string> rows; ///< of all tables, with their row ids
    std::vector<long> lines;       ///< of the first rows of all tables
    std::size_t entries = 0;
};

/// A table's rows with all their values.
void AppendRows(const std::string& database, const std::string& table, SLoaded& loaded) {
    for (const auto& row : ReadRows(database, "SELECT rowid, * FROM \"" + table + "\"")) {
        std::string text = table;
        for (const auto& value : row) {
            text += value ? "[" + *value + "]" : "NULL";
        }
        loaded.rows.push_back(text);
    }
}

/// In Transactional mode entries are inserted at once, in Normal mode each goes through Process.
SLoaded Load(const CScratchFolder& scratch, DBMode mode) {
    const std::string folder = scratch.Path(mode == Normal ? "normal" : "direct");
    std::filesystem::create_directories(folder);
    OverrideKnownFolder(KnownFolder::LocalAppData, folder.c_str());
    SLoaded loaded;
    {
        CDBProcessor processor(true, mode, _bstr_t(), _bstr_t());
        EXPECT_TRUE(processor.Process(createDB, std::wstringstream()));
        CFileList files;
        files.AddCommandLineFile(scratch.Path("main.xml"));
        CLandscapeLoader loader(processor, files);
        // Without a transaction around it each record would be one.
        EXPECT_TRUE(mode != Normal || processor.GetDatabase()->BeginTransaction());
        EXPECT_TRUE(loader.Load([](const SLandscapeFile&, std::size_t) {}));
        EXPECT_TRUE(mode != Normal || processor.GetDatabase()->Commit());
        EXPECT_TRUE(processor.Process(Commit, std::wstringstream())) << processor.GetLastDBError();
        EXPECT_TRUE(loader.InsertRemainingRows());
        EXPECT_EQ(loader.GetFailure(), "");
        loaded.entries = loader.GetEntryCount();
        for (std::size_t table = 0; table < loader.GetTables().GetCount(); ++table) {
            for (long row = 1; row <= 100; ++row) {
                loaded.lines.push_back(loader.GetPositions().LineOf(table, row));
            }
        }
    }
    const std::string database = folder + "/UILandscape.db";
    for (const auto& table :
         ReadRows(database, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
        AppendRows(database, table[0].value_or(""), loaded);
    }
    return loaded;
}

void ExpectBothWaysAlike(const CScratchFolder& scratch, const std::string& what) {
    const SLoaded direct = Load(scratch, Transactional);
    const SLoaded oneByOne = Load(scratch, Normal);
    EXPECT_EQ(direct.rows, oneByOne.rows) << what;
    EXPECT_EQ(direct.lines, oneByOne.lines) << what;
    EXPECT_EQ(direct.entries, oneByOne.entries) << what;
}

TEST(LandscapeLoader, BothWaysGiveTheSameTables) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        const CScratchFolder scratch;
        const SLandscapeModel model = GenerateSmallLandscape(seed);
        for (std::size_t file = 0; file < model.files.size(); ++file) {
            scratch.Write(file == 0 ? "main.xml" : model.files[file].name,
                          ToXml(model.files[file]));
        }
        ExpectBothWaysAlike(scratch, "seed " + std::to_string(seed));
    }
}

TEST(LandscapeLoader, AFileThatBreaksOffLateLeavesNothing) {
    const CScratchFolder scratch;
    std::string services;
    for (int number = 0; number < 3'000; ++number) {
        services +=
            "<Service uuid=\"f_uuid:" + std::to_string(number) + "\" name='it&apos;s \xC3\xA4'/>\n";
    }
    const std::string head = "<Landscape><Services>" + services + "<Service><Memo>kept</Memo>";
    scratch.Write("main.xml",
                  "<Landscape><Includes><Include url=\"broken.xml\"/><Include url=\"whole.xml\"/>"
                  "</Includes><Memo>stray</Memo><Service uuid=\"first\"/></Landscape>");
    scratch.Write("broken.xml", head + "</Services>");
    scratch.Write("whole.xml", head + "</Service></Services></Landscape>");
    ExpectBothWaysAlike(scratch, "broken");
    const SLoaded loaded = Load(scratch, Transactional);
    EXPECT_EQ(loaded.entries, 3'002U);
    const std::string database = scratch.Path("direct/UILandscape.db");
    EXPECT_EQ(ReadRows(database,
                       "SELECT file_id, count(*), min(rowid), max(rowid) FROM Services "
                       "GROUP BY file_id"),
              (Rows{{"0", "1", "1", "1"}, {"2", "3001", "2", "3002"}}));
    EXPECT_EQ(ReadRows(database, "SELECT \"\" FROM Memos"), (Rows{{"stray"}, {"kept"}}));
    EXPECT_EQ(ReadRows(database, "SELECT count(*) FROM Files"), (Rows{{"4"}}));
}

TEST(LandscapeLoader, AMemoKeepsAllTextThatStandsInIt) {
    const CScratchFolder scratch;
    scratch.Write("main.xml",
                  "<Landscape><Service uuid=\"a\"><Memo>1<Service uuid=\"b\">2<Memo>3</Memo>"
                  "</Service>4</Memo></Service><Memo>5<Service uuid=\"c\">6</Service>7</Memo>"
                  "<Service uuid=\"d\"><Memo>8</Memo><Memo>9</Memo></Service></Landscape>");
    ExpectBothWaysAlike(scratch, "memos");
    Load(scratch, Transactional);
    const std::string database = scratch.Path("direct/UILandscape.db");
    EXPECT_EQ(ReadRows(database, "SELECT uuid, coalesce(\"\", '-') FROM Services ORDER BY uuid"),
              (Rows{{"a", "1234"}, {"b", "-"}, {"c", "-"}, {"d", "8"}}));
    EXPECT_EQ(ReadRows(database, "SELECT \"\" FROM Memos"),
              (Rows{{"567"}, {"9"}, {"1234"}, {"8"}}));
}

} // namespace
} // namespace LandscapeValidator::Testing
