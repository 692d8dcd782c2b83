// SPDX-License-Identifier: Apache-2.0
#include "trace_probe.h"

#include <cstdio>
#include <string>

#include "support/trace.h"

namespace Probe {
namespace {

constexpr char kClass[] = "Probe::CWorker";
int evaluated = 0;

int Count() {
    return ++evaluated;
}

class CWorker {
public:
    void Run() const {
        NAX_TRACE(kClass, "plain %d\n", Count());
        NAX_TRACE_ERROR(kClass, "\nfailed %d %s\n", Count(), "100% sure");
    }
};

void RunStatic() {
    NAX_TRACE_STATIC(kClass, "static plain\n");
    NAX_TRACE_ERROR_STATIC(kClass, "static failed %d\n", Count());
}

} // namespace
} // namespace Probe

int RunTraceProbe() {
    const Probe::CWorker worker;
    worker.Run();
    Probe::RunStatic();
    std::printf("%s\n%d\n%p\n%d\n", Nax::FrontEnd::XMLDB::GetTraceFileName().c_str(),
                Probe::evaluated, static_cast<const void*>(&worker),
                static_cast<int>(GetCurrentProcessId()));
    return 0;
}
