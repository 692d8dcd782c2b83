// SPDX-License-Identifier: Apache-2.0
#include "file_list.h"

#include "limit_options.h"
#include "platform/url.h"

#include <optional>

namespace LandscapeValidator {

using Nax::FrontEnd::XMLDB::ParseUrl;
using Nax::FrontEnd::XMLDB::SUrl;

void CFileList::AddCommandLineFile(const std::string& path, const std::string& name) {
    SLandscapeFile file;
    file.index = static_cast<int>(m_files.size());
    file.url = name.empty() ? path : name;
    file.path = path;
    file.base = file.url;
    const std::optional<SUrl> url = name.empty() ? std::nullopt : ParseUrl(name);
    if (url) { // what came from a server names others of that server
        file.url = url->shown;
        file.base = url->full;
        file.fromUrl = true;
    }
    if (IsNew(url ? file.url : IdentityOfFile(file.url))) {
        m_files.push_back(std::move(file));
    }
}

void CFileList::AddInclude(const SLandscapeFile& includingFile, const SInclude& include) {
    if (WithoutSpaceAround(include.url).empty()) {
        return; // names nothing; the schema check tells a missing attribute
    }
    const std::string& base = includingFile.base;
    const bool isFull = m_files.size() > m_limit;
    constexpr std::size_t kRemembered = 1'000'000;
    if (m_written.size() >= kRemembered) {
        m_written.clear();
    }
    if (isFull ||
        !m_written.insert(base.substr(0, base.rfind('/') + 1) + '\0' + include.url).second) {
        return;
    }
    SResolvedInclude resolved =
        ResolveInclude(includingFile.base, includingFile.fromUrl, include.url, m_options);
    if (!IsNew(resolved.identity)) {
        return;
    }
    SLandscapeFile file;
    file.index = static_cast<int>(m_files.size());
    file.url = std::move(resolved.url);
    file.path = std::move(resolved.path);
    file.fetchUrl = std::move(resolved.fetchUrl);
    file.base = std::move(resolved.base);
    file.fromUrl = resolved.fromUrl;
    file.notRead = std::move(resolved.notRead);
    file.fault = resolved.fault;
    if (m_files.size() == m_limit) {
        file.fetchUrl.clear();
        file.fault = true;
        file.notRead = "The included file is not read, nor any after it: the run has " +
                       std::to_string(m_limit) + " files, which is the limit \"files\". " +
                       LimitAdvice("files");
    }
    file.description = include.description;
    file.name = include.name;
    file.includedBy = includingFile.url;
    file.includeLine = include.line;
    m_files.push_back(std::move(file));
}

bool CFileList::SetFetched(std::size_t index, const std::string& path, const std::string& foundUrl,
                           const std::string& foundIdentity) {
    SLandscapeFile& file = m_files[index];
    if (foundIdentity != file.url && !IsNew(foundIdentity)) {
        return false;
    }
    file.path = path;
    file.base = foundUrl;
    return true;
}

} // namespace LandscapeValidator
