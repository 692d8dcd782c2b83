// SPDX-License-Identifier: Apache-2.0
#include "platform/host_files.h"

#include "descriptor.h"
#include "utf8_locale.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <libxml/xmlreader.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace Nax::FrontEnd::XMLDB {

namespace fs = std::filesystem;

namespace {

constexpr char kScratchPrefix[] = "landscape-validator-";
constexpr std::time_t kDay = std::time_t{24} * 60 * 60;

/// -1 when it cannot be opened or another process has locked it.
int OpenLocked(const std::string& folder) {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) != 0) {
        close(file);
        return -1;
    }
    return file;
}

class CScratchFolder : public IScratchFolder {
public:
    explicit CScratchFolder(std::string path)
        : m_path(std::move(path)), m_lock(OpenLocked(m_path)) {}
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;
    ~CScratchFolder() override {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    const std::string& GetPath() const override { return m_path; }

private:
    std::string m_path;
    CDescriptor m_lock; ///< tells others that somebody works here
};

/// What no living process has locked, is old enough to have been locked, and is ours.
void RemoveLeftScratchFolders(const fs::path& parent) {
    std::error_code error;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end;
         entry.increment(error)) {
        struct stat status = {};
        const fs::path& path = entry->path();
        if (!path.filename().string().starts_with(kScratchPrefix) ||
            lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
            status.st_uid != geteuid() || std::time(nullptr) - status.st_mtime < kDay) {
            continue;
        }
        const CDescriptor lock(OpenLocked(path));
        if (lock.IsOpen()) {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    }
}

std::string AbsoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value == '/' ? value : "";
}

/// Failures to read are not among the messages that a reader's options switch off.
class CSilentXmlLibrary {
public:
    CSilentXmlLibrary() {
        xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
    }
    CSilentXmlLibrary(const CSilentXmlLibrary&) = delete;
    CSilentXmlLibrary& operator=(const CSilentXmlLibrary&) = delete;
    ~CSilentXmlLibrary() { xmlSetStructuredErrorFunc(m_context, m_earlier); }

private:
    const xmlStructuredErrorFunc m_earlier = xmlStructuredError;
    void* const m_context = xmlStructuredErrorContext;
};

struct SReaderDeleter {
    void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};

} // namespace

std::unique_ptr<IScratchFolder> MakeScratchFolder(std::string& message) {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    std::string path = (parent / (std::string(kScratchPrefix) + "XXXXXX")).string();
    if (!error) {
        RemoveLeftScratchFolders(parent);
    }
    if (error || mkdtemp(path.data()) == nullptr) {
        message = error ? error.message() : std::generic_category().message(errno);
        return nullptr;
    }
    return std::make_unique<CScratchFolder>(path);
}

bool FitsPattern(const std::string& name, const std::string& pattern) {
    const CUtf8Locale wholeCharacters;
    return fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0;
}

std::string ReadRootElement(const std::string& path) {
    // What is wrong with the file is told by whoever reads it in earnest.
    const CSilentXmlLibrary silence;
    constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    const std::unique_ptr<xmlTextReader, SReaderDeleter> reader(
        xmlReaderForFile(path.c_str(), nullptr, kOptions));
    while (reader && xmlTextReaderRead(reader.get()) == 1) {
        if (xmlTextReaderNodeType(reader.get()) == XML_READER_TYPE_ELEMENT) {
            const xmlChar* name = xmlTextReaderConstLocalName(reader.get());
            return name == nullptr ? "" : reinterpret_cast<const char*>(name);
        }
    }
    return {};
}

std::string FindHomeFolder() {
    std::string home = AbsoluteVariable("HOME");
    if (home.empty()) {
        passwd entry = {};
        passwd* found = nullptr;
        std::string buffer(16384, '\0');
        if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
            found != nullptr && found->pw_dir != nullptr) {
            home = found->pw_dir;
        }
    }
    return home;
}

std::string FindCacheFolder() {
    const std::string folder = AbsoluteVariable("XDG_CACHE_HOME");
    const std::string home = folder.empty() ? FindHomeFolder() : "";
    return folder.empty() && !home.empty() ? home + "/.cache" : folder;
}

std::vector<std::string> ListEnvironment(const std::string& prefix) {
    std::vector<std::string> names;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (text.starts_with(prefix)) {
            names.emplace_back(text.substr(0, text.find('=')));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace Nax::FrontEnd::XMLDB
