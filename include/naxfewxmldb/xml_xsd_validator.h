// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/text_types.h>
#include <naxfewxmldb/xml_element_sink.h>

#include <string>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// One fault of a file, with the line it stands on (0 when there is none).
struct SXmlIssue {
    std::string reason;
    std::string source; ///< the line at fault, cut around the fault
    long line = 0;
};

/// What a validation found, as data.
struct SXmlValidationResult {
    bool wellFormed = false;       ///< the file could be read to its end
    bool readable = true;          ///< false when the system could not read it, as `issues` tells
    long total = 0;                ///< number of faults
    std::vector<SXmlIssue> issues; ///< the first 100
};

/// Validates landscape files against a schema.
///
/// Keeps no state between calls. One thread at a time per object; several objects may work on
/// several threads. Memory does not grow with the file, time grows linearly with the file and
/// with its faults.
class NAXFEWXMLDB_EXPORT CXmlXsdValidator {
public:
    explicit CXmlXsdValidator(bool flag);
    virtual ~CXmlXsdValidator();
    CXmlXsdValidator(const CXmlXsdValidator&) = default;
    CXmlXsdValidator& operator=(const CXmlXsdValidator&) = default;

    /// True when the file is valid. `message` always says which: one line for a valid file, else
    /// an HTML fragment with the first fault and up to 100 numbered issues.
    ///
    /// With `useLocalCopy` the file that is read is `localFileName` and the message names
    /// `fileName`; without, `fileName` is both. `schema` is the schema's text when it begins with
    /// "<" (white space and a byte-order mark aside), else its path. A file that cannot be read is
    /// a fault of the file; a schema that cannot be used gives false with the reason. For want of
    /// memory it is false, GetFailedAllocations has counted it, and `message` may be null.
    bool Validate(bool useLocalCopy, const _bstr_t& fileName, const _bstr_t& localFileName,
                  const _bstr_t& schema, _bstr_t& message);

    /// The same in one pass with reading: `sink` receives every element up to the first fault that
    /// makes the file not well-formed. When the schema cannot be used nothing is read and `result`
    /// is as constructed.
    bool Validate(bool useLocalCopy, const _bstr_t& fileName, const _bstr_t& localFileName,
                  const _bstr_t& schema, _bstr_t& message, IXmlElementSink& sink,
                  SXmlValidationResult& result);

    /// Traces both texts; always false.
    bool Error(const char* block, const char* message);
    /// The constructor's argument; hosts read it, the validation does not depend on it.
    bool GetFlag() const { return m_flag; }

private:
    struct SRequest;
    bool Run(const SRequest& request, _bstr_t& message);
    static bool Check(const SRequest& request, _bstr_t& message);

    bool m_flag;
};

} // namespace Nax::FrontEnd::XMLDB
