// SPDX-License-Identifier: Apache-2.0
#include <cstring>
#include <exception>

#include "platform/environment.h"
#include "platform/files.h"
#include "platform/named_mutex.h"
#include "support/format.h"
#include "support/trace.h"

#include <naxfewxmldb/text_processor.h>

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr int kTimeStampLevel = 5;
constexpr DWORD kLockWait = 60000;
constexpr std::size_t kLongestProgramPath = 511;
constexpr char kMutexName[] = "NAXPCTRC_NAXPCTRC.TRC";
constexpr char kStarLine[] =
    "********************************************************************************\n";

std::string TimeStamp() {
    const std::tm now = LocalTimeNow();
    char text[64] = "";
    std::strftime(text, sizeof(text), "(%d.%m.%y %H:%M:%S)", &now);
    return std::string(text) + ' ';
}

} // namespace

CNaxPcTrc::CNaxPcTrc(const std::string& fileName, int level, int flags)
    : m_level(level), m_flags(flags) {
    m_fileName[fileName.copy(m_fileName, sizeof(m_fileName) - 1)] = '\0';
    if ((m_flags & kTraceSerialised) != 0) {
        CreateLock();
    }
}

CNaxPcTrc::~CNaxPcTrc() {
    if (m_file != nullptr && m_file != stderr) {
        std::fclose(m_file);
    }
    if (m_mutex != nullptr) {
        CloseHandle(m_mutex);
    }
}

void CNaxPcTrc::CreateLock() {
    m_mutex = CreateMutexA(nullptr, FALSE, kMutexName);
    if (m_mutex == nullptr) {
        std::fprintf(stderr, "ERROR: NAXPCTRC, failed to create MUTEX %s (%d)\n", kMutexName,
                     static_cast<int>(GetLastError()));
        std::fputs("NAXPCTRC, failed to create lock\n", stderr);
    }
}

bool CNaxPcTrc::TakeLock() const {
    if (m_mutex == nullptr) {
        std::fputs("ERROR: NAXPCTRC, invalid SetLock call (MUTEX is null)\n", stderr);
        return false;
    }
    switch (WaitForSingleObject(m_mutex, kLockWait)) {
        case WAIT_OBJECT_0:
            return true;
        case WAIT_ABANDONED:
            std::fputs("ERROR: NAXPCTRC, lock holder died\n", stderr);
            return true;
        case WAIT_TIMEOUT:
            std::fputs("ERROR: NAXPCTRC, MUTEX timed out\n", stderr);
            return false;
        default:
            std::fprintf(stderr, "ERROR: NAXPCTRC, lock problem (%d)\n",
                         static_cast<int>(GetLastError()));
            return false;
    }
}

void CNaxPcTrc::ReleaseLock() const {
    if (ReleaseMutex(m_mutex) == FALSE) {
        std::fprintf(stderr, "ERROR: NAXPCTRC, lock reset failed (%d)\n",
                     static_cast<int>(GetLastError()));
    }
}

void CNaxPcTrc::Open() {
    const std::string path = JoinPath(GetTraceFolder().value_or(""), m_fileName);
    if (m_file == nullptr) {
        m_file = std::fopen(path.c_str(), "w");
    }
    if (m_file == nullptr) {
        m_file = stderr;
    }
    WriteBanner();
}

void CNaxPcTrc::WriteBanner() {
    const std::string program = GetExecutablePath().substr(0, kLongestProgramPath);
    const std::string stamp = m_level >= kTimeStampLevel ? TimeStamp() : std::string();
    // The main trace mode stays 0, which reads as everything.
    WriteText(stamp + kStarLine + stamp +
              "****************************  Naxcor, Trace File  ******************************\n" +
              stamp + "** Main trace mode: Error, Warning, Developer Notes and additional data \n" +
              stamp + "** Program: \t" + program + '\n' + stamp + kStarLine + '\n');
}

void CNaxPcTrc::WriteText(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), m_file);
    std::fflush(m_file);
}

void CNaxPcTrc::Write(TraceKind kind, const char* format, va_list args) noexcept {
    const bool locked = (m_flags & kTraceSerialised) != 0 && TakeLock();
    try {
        std::call_once(m_opened, [this] { Open(); });
        std::string line;
        if (m_level >= kTimeStampLevel) {
            if (*format == '\n') {
                line += '\n';
                ++format;
            }
            line += TimeStamp();
        } else if (kind == TraceKind::Error) {
            line = "***ERROR***: ";
        } else if (kind == TraceKind::Warning) {
            line = "***WARNING*: ";
        }
        if (AppendFormat(line, format, args)) {
            WriteText(TextProcessor::ReplaceControls(line, "\n\t"));
        }
    } catch (const std::exception&) {
        // No memory for the line: the caller's work goes on without it.
    }
    if (locked) {
        ReleaseLock();
    }
}

} // namespace Nax::FrontEnd::XMLDB
