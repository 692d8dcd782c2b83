// SPDX-License-Identifier: Apache-2.0
#include "severity.h"

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

Severity SeverityOf(ResultCodes code) {
    switch (code) {
        case ValidationFailed:
        case RuntimeError:
        case ValidationAgainstXSDFailed:
            return Severity::Error;
        case ValidationWarning:
            return Severity::Warning;
        case ValidationInfo:
            return Severity::Info;
        case ValidationPassed:
        case ValidationAgainstXSDPassed:
            break;
    }
    return Severity::None;
}

const char* SeverityLabel(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return "ERROR";
        case Severity::Warning:
            return "WARNING";
        case Severity::Info:
            return "INFO";
        case Severity::None:
            break;
    }
    return "";
}

} // namespace LandscapeValidator
