// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/rule.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

class CDBProcessor;

// Where the JSON texts of an export go.
inline constexpr int kExportToFiles = 0;
inline constexpr int kExportToPage = 1;

/// What an export gives to each of its rules before it runs them.
struct SExportContext {
    int exportMode = kExportToFiles;
    int debugSwitch = 0; ///< not 0: every statement becomes a view, too
    int reserved = 0;
    std::string outputFolder;
    std::string reportPagePath;
    std::string styleSheetPath;
    std::string jsonFolder; ///< for export mode 0; empty means the folder of the report

    std::string GetJsonFolder() const;
};

/// A rule that exports the rows of its body's statements as JSON, to files or into the report page.
///
/// Shares ownership of the database processor. Initialize, SetContext, Run and Finalize are called
/// on the rule's own thread, PostRun on the engine's thread after that thread has ended; other
/// export rules may run on the same processor meanwhile.
class CExportRule : public virtual IRule {
public:
    /// `resultText` is what PostRun returns when there is no folder for the report.
    CExportRule(const std::shared_ptr<CDBProcessor>& processor, const std::string& resultText);
    ~CExportRule() override;

    bool Initialize() override;
    bool Finalize() override;
    /// The result of the last statement's export; false for a body without statements. Pieces of
    /// the body that hold nothing but white space are no statements.
    bool Run() override;
    /// Puts the kept JSON text into the report page of the process and writes the page with its
    /// companions. Returns the folder of the report.
    CStringA PostRun() override;
    /// `query` as it is: exports have no placeholders.
    CStringA PreprocessQuery(const CStringA& query) override;

    void SetContext(const SExportContext& context);
    const SExportContext& GetContext() const { return m_context; }
    /// Takes the text that goes into the page, in place of one kept before.
    void KeepJson(std::string json);
    /// The statements of a body, in order.
    static std::vector<std::string> GetStatements(const std::string& body);
    /// Makes it an export from elsewhere: read only, bounded in time, file names checked.
    void SetGuard(std::chrono::milliseconds timeLimit) { m_timeLimit = timeLimit; }
    bool IsGuarded() const { return m_timeLimit.has_value(); }
    /// Of a guarded export's run: what its statements may still take together.
    std::chrono::steady_clock::duration GetTimeLeft() const { return m_timeLeft; }
    void TakeTime(std::chrono::steady_clock::duration time) { m_timeLeft -= time; }
    /// Whether the last PostRun wrote all files.
    bool IsReportWritten() const { return m_reportWritten; }

private:
    std::string GetBaseName() const;
    std::string GetFileName(std::size_t index, std::size_t count) const;

    std::shared_ptr<CDBProcessor> m_processor;
    std::string m_resultText;
    SExportContext m_context;
    std::string m_json;
    std::optional<std::chrono::milliseconds> m_timeLimit;
    std::chrono::steady_clock::duration m_timeLeft{};
    bool m_reportWritten = false;
};

} // namespace Nax::FrontEnd::XMLDB
