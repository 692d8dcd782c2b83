// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/text_types.h>

namespace Nax::FrontEnd::XMLDB {

/// One rule: its describing data and the steps in which it is run.
///
/// The engine calls Initialize, Run and Finalize once per execution, in this order, and PostRun
/// after every rule has been finalised. One thread at a time. Success flags report failure;
/// nothing throws except for want of memory.
class NAXFEWXMLDB_EXPORT IRule {
public:
    IRule();
    virtual ~IRule();

    virtual bool Initialize() = 0;
    virtual bool Finalize() = 0;
    virtual bool Run() = 0;
    /// A text for the engine; empty for validation rules.
    virtual CStringA PostRun() = 0;
    /// One statement of the body with the rule's placeholders filled in.
    virtual CStringA PreprocessQuery(const CStringA& query) = 0;

    CStringA id;             ///< key of the rule's rows in `ValidationResults` and `Rules`
    CStringA name;           ///< short title
    CStringA msg;            ///< message of a violation, a printf format for the body
    CStringA body;           ///< SQL, statements separated by ";"
    CStringA type;           ///< "Failed", "Warning" or "Info"
    CStringA lang;           ///< language of the body, stored only
    CStringA params;         ///< stored only
    CStringA solution;       ///< suggested fix, a link or a text
    CStringA output;         ///< file name of an export's result
    CStringA reserved;       ///< of a guarded export: why its last run failed
    CStringA outputFolder;   ///< run context of an export
    CStringA reportPagePath; ///< run context of an export
    CStringA styleSheetPath; ///< run context of an export

protected:
    IRule(const IRule&) = default;
    IRule& operator=(const IRule&) = default;
};

} // namespace Nax::FrontEnd::XMLDB
