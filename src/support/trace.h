// SPDX-License-Identifier: Apache-2.0
#pragma once

// The trace: one plain-text file per process, written by one process-wide writer.
//
// How a class traces. Its source file defines the qualified class name once, and each call gives
// it first; the function's own name is added by the macro:
//
//     constexpr char kClass[] = "Nax::FrontEnd::XMLDB::CDBProcessor";
//     NAX_TRACE(kClass, "Connect: %d\n", connected ? 1 : 0);
//
// gives "TID: 812, Nax::FrontEnd::XMLDB::CDBProcessor::Initialize[0x55...]/61: Connect: 1\n".
// The format is a string literal that ends with "\n"; text that is not, goes through "%s", may be
// of any length and may hold per cent signs. NAX_TRACE is written from level 4, NAX_TRACE_ERROR
// from level 1; the _STATIC forms are for static and free functions (a free function gives its
// namespace as first argument). Below the level a call costs one integer comparison, and its
// arguments are not evaluated. The _AS forms take the function's name: a step of an operation that
// stands in a function of its own traces under the operation's name, and a lambda has none.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

#include "platform/basic_types.h"
#include "platform/compiler.h"
#include "platform/process.h"

namespace Nax::FrontEnd::XMLDB {

enum class TraceKind { Error = 1, Warning = 2, Plain = 4 };

/// Flag of a writer: its lines are serialised with those of other processes by a named mutex.
inline constexpr int kTraceSerialised = 1;

/// Writes trace lines to one file, which the first line opens and heads with the banner.
///
/// Owns the stream and the mutex. Any thread may write at any time; a line is one write to the
/// stream, whose own lock keeps it whole. Never fails its caller: a file that cannot be opened
/// sends the lines to the standard error stream, a line for which there is no memory is lost.
class CNaxPcTrc {
public:
    /// `fileName` is used in the trace folder, or in the current one; cut at 255 characters.
    CNaxPcTrc(const std::string& fileName, int level, int flags);
    CNaxPcTrc(const CNaxPcTrc&) = delete;
    CNaxPcTrc& operator=(const CNaxPcTrc&) = delete;
    ~CNaxPcTrc();

    int GetLevel() const noexcept { return m_level; }
    const char* GetFileName() const noexcept { return m_fileName; }

    /// Writes one line without asking for the level; `args` is used up.
    void Write(TraceKind kind, const char* format, va_list args) noexcept NAX_PRINTF_FORMAT(3, 0);

private:
    void CreateLock();
    bool TakeLock() const;
    void ReleaseLock() const;
    void Open();
    void WriteBanner();
    void WriteText(const std::string& text);

    std::FILE* m_file = nullptr;
    char m_fileName[256] = "NAXPCTRC.TRC";
    int m_level;
    int m_flags;
    HANDLE m_mutex = nullptr;
    std::once_flag m_opened;
};

/// A named context for trace settings, kept for classes that derive from it.
class CTracer {
public:
    CTracer(const char* name, int level, int flags);
    CTracer(const CTracer&) = default;
    CTracer& operator=(const CTracer&) = default;
    virtual ~CTracer();

protected:
    std::string m_name;
    int m_level;
    int m_flags;
    std::shared_ptr<CNaxPcTrc> m_writer;
};

/// The process-wide writer, made by the first call with the given settings. Never null.
CNaxPcTrc* GetTrace(int defaultLevel, int flags);

/// The level that the first call settled for the process: from the environment, else from the
/// registry, else `defaultLevel`.
int GetTraceLevel(int defaultLevel);

/// Name of the process's trace file, without folder.
const std::string& GetTraceFileName();

/// Written from level 1.
void TraceError(CNaxPcTrc* writer, const char* format, ...) NAX_PRINTF_FORMAT(2, 3);
/// Written from level 4.
void TraceDeveloper(CNaxPcTrc* writer, const char* format, ...) NAX_PRINTF_FORMAT(2, 3);

namespace TraceDetail {

/// The process's level once it is known, before that higher than any.
extern std::atomic<int> threshold;
bool IsReached(int level);

inline bool IsOn(int level) {
    return threshold.load(std::memory_order_relaxed) >= level && IsReached(level);
}

} // namespace TraceDetail
} // namespace Nax::FrontEnd::XMLDB

#define NAX_TRACE_MEMBER_LINE(level, operation, scope, function, format, ...)              \
    do {                                                                                   \
        if (::Nax::FrontEnd::XMLDB::TraceDetail::IsOn(level)) {                            \
            ::Nax::FrontEnd::XMLDB::operation(                                             \
                ::Nax::FrontEnd::XMLDB::GetTrace(0, 0), "TID: %d, %s::%s[%p]/%d: " format, \
                static_cast<int>(::GetCurrentThreadId()), scope, function,                 \
                static_cast<const void*>(this), __LINE__ __VA_OPT__(, ) __VA_ARGS__);      \
        }                                                                                  \
    } while (false)

#define NAX_TRACE_STATIC_LINE(level, operation, scope, format, ...)                            \
    do {                                                                                       \
        if (::Nax::FrontEnd::XMLDB::TraceDetail::IsOn(level)) {                                \
            ::Nax::FrontEnd::XMLDB::operation(::Nax::FrontEnd::XMLDB::GetTrace(0, 0),          \
                                              "TID: %d, %s::%s/%d: " format,                   \
                                              static_cast<int>(::GetCurrentThreadId()), scope, \
                                              __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__);  \
        }                                                                                      \
    } while (false)

#define NAX_TRACE_AS(scope, function, format, ...) \
    NAX_TRACE_MEMBER_LINE(4, TraceDeveloper, scope, function, format __VA_OPT__(, ) __VA_ARGS__)
#define NAX_TRACE_ERROR_AS(scope, function, format, ...) \
    NAX_TRACE_MEMBER_LINE(1, TraceError, scope, function, format __VA_OPT__(, ) __VA_ARGS__)
#define NAX_TRACE(scope, format, ...) \
    NAX_TRACE_AS(scope, __func__, format __VA_OPT__(, ) __VA_ARGS__)
#define NAX_TRACE_ERROR(scope, format, ...) \
    NAX_TRACE_ERROR_AS(scope, __func__, format __VA_OPT__(, ) __VA_ARGS__)
#define NAX_TRACE_STATIC(scope, format, ...) \
    NAX_TRACE_STATIC_LINE(4, TraceDeveloper, scope, format __VA_OPT__(, ) __VA_ARGS__)
#define NAX_TRACE_ERROR_STATIC(scope, format, ...) \
    NAX_TRACE_STATIC_LINE(1, TraceError, scope, format __VA_OPT__(, ) __VA_ARGS__)
