// SPDX-License-Identifier: Apache-2.0
#include "platform/known_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <mutex>
#include <vector>

#include "folder_creation.h"
#include "platform/environment.h"
#include "platform/files.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

struct SFolderRule {
    int csidl;
    const char* variable;
    const char* belowHome;
};

constexpr SFolderRule kRules[] = {
    {CSIDL_LOCAL_APPDATA, "XDG_DATA_HOME", ".local/share"},
    {CSIDL_APPDATA, "XDG_CONFIG_HOME", ".config"},
};

// The base directory rules ask for folders that only their user reads.
constexpr unsigned int kPrivateFolder = 0700;

/// Folders the host has chosen, by number.
class COverrides {
public:
    void Set(int csidl, const std::string& path) {
        const std::lock_guard lock(m_mutex);
        if (path.empty()) {
            m_paths.erase(csidl);
        } else {
            m_paths[csidl] = path;
        }
    }
    std::string Get(int csidl) const {
        const std::lock_guard lock(m_mutex);
        const auto found = m_paths.find(csidl);
        return found == m_paths.end() ? std::string() : found->second;
    }

private:
    mutable std::mutex m_mutex;
    std::map<int, std::string> m_paths;
};

COverrides& Overrides() {
    static COverrides overrides;
    return overrides;
}

const SFolderRule* FindRule(int csidl) noexcept {
    for (const SFolderRule& rule : kRules) {
        if (rule.csidl == csidl) {
            return &rule;
        }
    }
    return nullptr;
}

bool IsAbsolute(const std::string& path) noexcept {
    return !path.empty() && path.front() == '/';
}

std::string HomeFromUserDatabase() {
    std::vector<char> buffer(4096);
    passwd entry = {};
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found == nullptr || entry.pw_dir == nullptr ? std::string() : entry.pw_dir;
}

std::string HomeFolder() {
    const std::string home = GetEnvironmentText("HOME").value_or("");
    return home.empty() ? HomeFromUserDatabase() : home;
}

} // namespace

std::string FindKnownFolder(int csidl) {
    const SFolderRule* rule = FindRule(csidl);
    if (rule == nullptr) {
        return {};
    }
    std::string path = Overrides().Get(csidl);
    if (path.empty()) {
        path = GetEnvironmentText(rule->variable).value_or("");
        if (!IsAbsolute(path)) {
            const std::string home = HomeFolder();
            path = IsAbsolute(home) ? JoinPath(home, rule->belowHome) : std::string();
        }
    }
    return path;
}

std::string GetKnownFolder(int csidl) {
    std::string path = FindKnownFolder(csidl);
    if (!path.empty() && !CreateFoldersWithMode(path, kPrivateFolder)) {
        path.clear();
    }
    return path;
}

void SetKnownFolder(int csidl, const std::string& path) {
    Overrides().Set(csidl, path);
}

} // namespace Nax::FrontEnd::XMLDB

HRESULT SHGetFolderPathA(HWND /*window*/, int csidl, HANDLE /*token*/, DWORD /*flags*/,
                         char* buffer) {
    using namespace Nax::FrontEnd::XMLDB;
    buffer[0] = '\0';
    if (FindRule(csidl) == nullptr) {
        return E_INVALIDARG;
    }
    const std::string path = GetKnownFolder(csidl);
    if (path.empty() || path.size() >= static_cast<std::size_t>(MAX_PATH)) {
        return E_FAIL;
    }
    std::memcpy(buffer, path.c_str(), path.size() + 1);
    return S_OK;
}
