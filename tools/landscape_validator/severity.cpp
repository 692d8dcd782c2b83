// SPDX-License-Identifier: Apache-2.0
#include "severity.h"

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

Severity ShownSeverityOf(ResultCodes code) {
    switch (code) {
        case ValidationFailed:
            return Severity::Error;
        case RuntimeError:
        case ValidationAgainstXSDFailed:
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

Severity GateSeverityOf(ResultCodes code) {
    return code == RuntimeError || code == ValidationAgainstXSDFailed ? Severity::Error
                                                                      : ShownSeverityOf(code);
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

const char* SeverityName(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return "error";
        case Severity::Warning:
            return "warning";
        case Severity::Info:
            return "info";
        case Severity::None:
            break;
    }
    return "never";
}

} // namespace LandscapeValidator
