// SPDX-License-Identifier: Apache-2.0
#include "support_listing.h"

#include "printable.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

void PrintSupportFiles(const SSupportReport& report, const std::string& heading,
                       const std::vector<std::string>& missing, std::ostream& out) {
    out << heading << '\n';
    for (const SSupportFile& file : report.files) {
        if (file.problem.empty()) {
            out << fmt::format("  {:>10}  {}  from {}\n", file.size, Printable(file.name),
                               Printable(file.source));
        }
    }
    out << "\nNot found\n";
    for (const SSupportFile& file : report.files) {
        if (!file.found) {
            out << fmt::format("  {}  at {}\n", Printable(file.name), Printable(file.source));
        }
    }
    for (const std::string& what : missing) {
        out << fmt::format("  Landscape_files/  at {}\n", Printable(what));
    }
    bool headed = false;
    for (const SSupportFile& file : report.files) {
        if (file.found && !file.problem.empty()) {
            out << (headed ? "" : "\nLeft out\n");
            out << fmt::format("  {}  from {}: {}\n", Printable(file.name), Printable(file.source),
                               Printable(file.problem));
            headed = true;
        }
    }
    out << '\n';
}

void PrintRemovedArchives(const SSupportReport& report, std::ostream& out) {
    for (const std::string& name : report.removed) {
        out << "Removed, older than 30 days: " << Printable(name) << '\n';
    }
}

void PrintSupportArchive(const SSupportReport& report, std::ostream& out) {
    PrintRemovedArchives(report, out);
    std::error_code error;
    const auto size = std::filesystem::file_size(report.archive, error);
    out << fmt::format("Support archive: {} ({} bytes)\n", Printable(report.archive),
                       error ? 0 : size);
}

} // namespace LandscapeValidator
