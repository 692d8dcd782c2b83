// SPDX-License-Identifier: Apache-2.0
#include "support/trace_modules.h"

#include "platform/process.h"
#include "support/format.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

std::string ModuleLine(const char* name, const char* version) {
    return Format("  %-170s   %s", name, version) + '\n';
}

} // namespace

std::string DescribeLoadedModules() {
    std::string text = "LOADED MODULES:\n" + ModuleLine("Name", "File-Version");
    for (const SModule& module : GetLoadedModules()) {
        text += ModuleLine(module.path.c_str(), module.version.c_str());
    }
    text += "=== END OF MODULES\n";
    return text;
}

} // namespace Nax::FrontEnd::XMLDB
