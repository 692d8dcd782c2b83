// SPDX-License-Identifier: Apache-2.0
#include "platform/host_files.h"

#include "utf8_locale.h"

#include <fnmatch.h>
#include <libxml/xmlreader.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace Nax::FrontEnd::XMLDB {

namespace fs = std::filesystem;

namespace {

class CScratchFolder : public IScratchFolder {
public:
    explicit CScratchFolder(std::string path) : m_path(std::move(path)) {}
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;
    ~CScratchFolder() override {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    const std::string& GetPath() const override { return m_path; }

private:
    std::string m_path;
};

std::string AbsoluteVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value == '/' ? value : "";
}

bool WriteAll(int file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

struct SReaderDeleter {
    void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};

} // namespace

std::unique_ptr<IScratchFolder> MakeScratchFolder(std::string& message) {
    std::error_code error;
    const fs::path parent = fs::temp_directory_path(error);
    std::string path = (parent / "landscape-validator-XXXXXX").string();
    if (error || mkdtemp(path.data()) == nullptr) {
        message = error ? error.message() : std::generic_category().message(errno);
        return nullptr;
    }
    return std::make_unique<CScratchFolder>(path);
}

bool ReplaceFile(const std::string& path, const std::string& content, std::string& message) {
    std::string temporary = path + ".XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0) {
        message = std::generic_category().message(errno);
        return false;
    }
    const bool written = WriteAll(file, content);
    int code = errno;
    const bool closed = close(file) == 0;
    if (written && !closed) {
        code = errno;
    }
    if (written && closed && std::rename(temporary.c_str(), path.c_str()) == 0) {
        return true;
    }
    message = std::generic_category().message(written && closed ? errno : code);
    unlink(temporary.c_str());
    return false;
}

bool FitsPattern(const std::string& name, const std::string& pattern) {
    const CUtf8Locale wholeCharacters;
    return fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0;
}

std::string ReadRootElement(const std::string& path) {
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
