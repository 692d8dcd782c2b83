// SPDX-License-Identifier: Apache-2.0
// Operations of the library while operator new fails: they return false and throw nothing, and the
// same object does its work afterwards. What the C libraries allocate is failed in the program.
#include "processor_fixture.h"

#include <naxfewxmldb/memory.h>
#include <naxfewxmldb/record_loader.h>
#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/support_files.h>
#include <naxfewxmldb/xml_xsd_validator.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <new>

namespace {

constexpr long kNever = std::numeric_limits<long>::max();
std::atomic<long> g_left{kNever}; ///< allocations that still succeed
std::atomic<bool> g_onwards{false};
std::atomic<long> g_failed{0};

bool Fails() noexcept {
    if (g_left == kNever) {
        return false;
    }
    const long left = --g_left;
    const bool fails = left == -1 || (left < -1 && g_onwards);
    g_failed += fails ? 1 : 0;
    return fails;
}

} // namespace

void* operator new(std::size_t size) {
    void* const block = Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

namespace Nax::FrontEnd::XMLDB::Testing {

namespace {

class CMemoryContractTest : public CProcessorTest {
protected:
    /// Fails the n-th allocation for growing n, alone and with all that follow, until a run passes.
    static void Sweep(const char* name, const std::function<bool()>& operation) {
        ASSERT_TRUE(operation()) << name;
        for (const bool onwards : {false, true}) {
            long failed = 0;
            for (long number = 0;; number += 1 + number / 6) {
                const std::uint64_t before = GetFailedAllocations();
                bool done = false;
                g_failed = 0;
                g_onwards = onwards;
                g_left = number;
                bool thrown = false;
                try {
                    done = operation();
                } catch (...) {
                    thrown = true;
                }
                g_left = kNever;
                EXPECT_FALSE(thrown) << name << ": " << number;
                if (g_failed == 0) {
                    EXPECT_TRUE(done) << name << ": " << number;
                    break;
                }
                ++failed;
                EXPECT_TRUE(done || GetFailedAllocations() > before) << name << ": " << number;
                ASSERT_TRUE(operation()) << name << " after " << number;
            }
            EXPECT_GT(failed, 0) << name;
        }
    }
};

TEST_F(CMemoryContractTest, NothingIsThrownAndTheObjectStaysUsable) {
    const auto processor = NewLandscape();
    const _bstr_t none;
    const _bstr_t folder(m_folder.File("").c_str());
    const std::string path = m_folder.File("landscape.xml");
    std::ofstream(path) << "<Landscape><Services/></Landscape>";
    const _bstr_t file(path.c_str());
    const std::wstringstream empty;

    Sweep("Process", [&] { return processor->Process(CreateResultIdTable, empty); });
    Sweep("DB_ExecuteQuery",
          [&] { return processor->DB_ExecuteQuery("SELECT regexp('a+', 'a')"); });
    CRulesProcessor rules(processor, none);
    processor->Process(CreateRulesTable, empty);
    Sweep("LoadRules", [&] {
        rules.SetRules({});
        return rules.LoadRules(none);
    });
    Sweep("Execute", [&] { return rules.Execute(); });
    Sweep("GenerateReport", [&] { return rules.GenerateReport(); });
    CXmlXsdValidator validator(true);
    const _bstr_t schema = processor->GetXsd();
    Sweep("Validate", [&] {
        _bstr_t message;
        validator.Validate(false, file, file, schema, message);
        // The file lacks what the schema asks for, so the message tells more than the outcome.
        return message.length() > 0;
    });
    SSupportRequest request;
    request.folder = m_folder.File("");
    request.files.push_back({path, {}, {}});
    Sweep("CollectSupportFiles", [&] { return CollectSupportFiles(request).failure.empty(); });
    Sweep("ListSupportFiles", [&] { return ListSupportFiles(request).failure.empty(); });
    Sweep("CDBProcessor::CollectSupportFiles",
          [&] { return CDBProcessor::CollectSupportFiles(processor, folder, {}); });
}

/// What a loader could not add, the commit does not pass over.
TEST_F(CMemoryContractTest, LoadedRecordsAreAllThereOrTheCommitFails) {
    Sweep("CRecordLoader", [this] {
        const long armed = g_left.exchange(kNever);
        const auto processor = NewDatabase(Transactional);
        CRecordLoader loader(*processor);
        g_left = armed;
        bool committed = false;
        if (loader.Begin()) {
            const SRecordValue value{0, "text"};
            loader.BeginGroup();
            loader.Add(loader.FindTable("Router"), {&value, 1});
            loader.EndGroup(true);
            loader.End();
            committed = Run(*processor, Commit);
        }
        g_left = kNever;
        EXPECT_TRUE(!committed || Query(*processor, "SELECT 1 FROM Routers").size() == 1);
        return committed;
    });
}

} // namespace

} // namespace Nax::FrontEnd::XMLDB::Testing
