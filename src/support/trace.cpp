// SPDX-License-Identifier: Apache-2.0
#include "support/trace.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <optional>

#include "platform/environment.h"
#include "platform/registry.h"
#include "support/format.h"
#include "support/trace_modules.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

// Selects the banner's text and takes part in the level filter. Nothing changes it.
constexpr int kMainTraceMode = 0;

bool Passes(const CNaxPcTrc* writer, int level) noexcept {
    return kMainTraceMode >= level || writer->GetLevel() >= level;
}

std::optional<int> LevelFromEnvironment() {
    const std::string text = GetEnvironmentText("NAXFEWXMLDB_TRACE_LEVEL").value_or("");
    int level = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, level);
    if (error != std::errc() || stop != end || level < 0) {
        return std::nullopt;
    }
    return level;
}

int ReadLevel(int defaultLevel) {
    if (const std::optional<int> level = LevelFromEnvironment()) {
        return *level;
    }
    DWORD value = 0;
    const int result =
        GetRegValInt(&value, "Software\\NAX\\NAXLogon\\Options", "NaxLogonTraceLevel", 0);
    return result == 0 || value != 0 ? static_cast<int>(value) : defaultLevel;
}

std::shared_ptr<CNaxPcTrc> CreateWriter(int defaultLevel, int flags) {
    auto writer =
        std::make_shared<CNaxPcTrc>(GetTraceFileName(), GetTraceLevel(defaultLevel), flags);
    if (Passes(writer.get(), 4)) {
        // The line feed stands in the format, where the time-stamped form looks for it.
        TraceDeveloper(writer.get(), "\n%s", DescribeLoadedModules().c_str());
    }
    return writer;
}

/// Holds the writer until the library is unloaded; calls that come later are then below the level.
struct SProcessWriter {
    std::shared_ptr<CNaxPcTrc> writer;

    explicit SProcessWriter(std::shared_ptr<CNaxPcTrc> created) : writer(std::move(created)) {}
    SProcessWriter(const SProcessWriter&) = delete;
    SProcessWriter& operator=(const SProcessWriter&) = delete;
    ~SProcessWriter() { TraceDetail::threshold.store(INT_MIN); }
};

} // namespace

namespace TraceDetail {

constinit std::atomic<int> threshold{INT_MAX};

bool IsReached(int level) {
    const int settled = std::max(kMainTraceMode, GetTrace(0, 0)->GetLevel());
    threshold.store(settled, std::memory_order_relaxed);
    return settled >= level;
}

} // namespace TraceDetail

CTracer::CTracer(const char* name, int level, int flags)
    : m_name(name), m_level(level), m_flags(flags) {}

CTracer::~CTracer() = default;

CNaxPcTrc* GetTrace(int defaultLevel, int flags) {
    static const SProcessWriter holder(CreateWriter(defaultLevel, flags));
    return holder.writer.get();
}

int GetTraceLevel(int defaultLevel) {
    static const int level = ReadLevel(defaultLevel);
    return level;
}

const std::string& GetTraceFileName() {
    static const std::string name =
        Format("%s_%.4d_%s.trc", "NAXfewXmlDb", static_cast<int>(GetCurrentProcessId()), "x64");
    return name;
}

void TraceError(CNaxPcTrc* writer, const char* format, ...) {
    if (Passes(writer, 1)) {
        va_list args;
        va_start(args, format);
        writer->Write(TraceKind::Error, format, args);
        va_end(args);
    }
}

void TraceDeveloper(CNaxPcTrc* writer, const char* format, ...) {
    if (Passes(writer, 4)) {
        va_list args;
        va_start(args, format);
        writer->Write(TraceKind::Plain, format, args);
        va_end(args);
    }
}

} // namespace Nax::FrontEnd::XMLDB
