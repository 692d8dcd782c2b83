// SPDX-License-Identifier: Apache-2.0
#include "platform/archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>

#include <naxfewxmldb/memory.h>

#include "crypto_memory.h"
#include "descriptor.h"
#include "platform/files.h"
#include "platform/folders.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr zip_uint16_t kTimeField = 0x5455; // "UT": the last write time in UTC, to the second
constexpr zip_flags_t kNameFlags = ZIP_FL_ENC_UTF_8;

struct DiscardArchive {
    void operator()(zip_t* archive) const noexcept { ::zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, DiscardArchive>;

/// A writer's own time field has the local time in steps of two seconds; this one says it exactly.
bool AddTime(zip_t* archive, zip_uint64_t index, std::time_t time) {
    if (time < 0 || time > std::numeric_limits<std::int32_t>::max()) {
        return true; // beyond what the field can say
    }
    const auto seconds = static_cast<std::uint32_t>(time);
    std::array<zip_uint8_t, 5> field = {1}; // the flag for "last write time follows"
    for (std::size_t byte = 0; byte < 4; ++byte) {
        field[byte + 1] = static_cast<zip_uint8_t>(seconds >> (8 * byte));
    }
    return ::zip_file_extra_field_set(archive, index, kTimeField, ZIP_EXTRA_FIELD_NEW, field.data(),
                                      field.size(), ZIP_FL_LOCAL | ZIP_FL_CENTRAL) == 0;
}

bool AddEntry(zip_t* archive, const SArchiveEntry& entry, const std::string& key) {
    if (entry.file.empty()) {
        return ::zip_dir_add(archive, entry.name.c_str(), kNameFlags) >= 0;
    }
    zip_source_t* source = ::zip_source_file(archive, entry.file.c_str(), 0, -1);
    if (source == nullptr) {
        return false;
    }
    const zip_int64_t added = ::zip_file_add(archive, entry.name.c_str(), source, kNameFlags);
    if (added < 0) {
        ::zip_source_free(source);
        return false;
    }
    const auto index = static_cast<zip_uint64_t>(added);
    struct stat status = {};
    return ::zip_file_set_encryption(archive, index, ZIP_EM_AES_256, key.c_str()) == 0 &&
           (::stat(entry.file.c_str(), &status) != 0 ||
            AddTime(archive, index, status.st_mtim.tv_sec));
}

int IsCancelled(zip_t* /*archive*/, void* state) noexcept {
    const auto& isCancelled = *static_cast<const std::function<bool()>*>(state);
    try {
        return isCancelled() ? 1 : 0;
    } catch (...) {
        return 1; // no exception may cross the C code
    }
}

std::string Reason(zip_t* archive, const SArchiveEntry* entry) {
    // Not everything that lacked memory says so.
    if (errno == ENOMEM || ::zip_error_code_zip(::zip_get_error(archive)) == ZIP_ER_MEMORY) {
        NoteFailedAllocation();
        return "out of memory";
    }
    const std::string text = ::zip_strerror(archive);
    return entry == nullptr ? text : entry->name + ": " + text;
}

/// The writer takes over the rights of the file that it replaces.
bool CreateEmptyPrivateFile(const std::string& path) {
    return CDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600))
        .IsOpen();
}

std::string Write(const std::string& path, const std::vector<SArchiveEntry>& entries,
                  const std::string& key, const std::function<bool()>& isCancelled) {
    int code = 0;
    errno = 0;
    const std::uint64_t failed = GetFailedAllocations();
    Archive archive(::zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (archive == nullptr) {
        if (code == ZIP_ER_MEMORY || errno == ENOMEM) {
            NoteFailedAllocation();
            return "out of memory";
        }
        zip_error_t error;
        ::zip_error_init_with_code(&error, code);
        std::string text = ::zip_error_strerror(&error);
        ::zip_error_fini(&error);
        return text;
    }
    for (const SArchiveEntry& entry : entries) {
        if (!AddEntry(archive.get(), entry, key)) {
            return Reason(archive.get(), &entry);
        }
    }
    if (isCancelled) {
        ::zip_register_cancel_callback_with_state(archive.get(), &IsCancelled, nullptr,
                                                  const_cast<std::function<bool()>*>(&isCancelled));
    }
    if (::zip_close(archive.get()) != 0) {
        return Reason(archive.get(), nullptr);
    }
    static_cast<void>(archive.release());
    // What lacked memory and was served from the reserve is thrown away like everything of its
    // kind.
    return GetFailedAllocations() == failed ? std::string() : "out of memory";
}

/// Removes what the writer leaves: the part, and temporary files with six more characters.
void RemoveParts(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string prefix = path.substr(slash == std::string::npos ? 0 : slash + 1) + ".part";
    const std::size_t longest = prefix.size() + 7;
    for (const SFoundFile& file : FindFiles(folder, "*.part*")) {
        if (file.regular && (file.name == prefix || (file.name.size() == longest &&
                                                     file.name.starts_with(prefix + '.')))) {
            ::unlink(JoinPath(folder, file.name).c_str());
        }
    }
}

} // namespace

std::string WriteArchive(const std::string& path, const std::vector<SArchiveEntry>& entries,
                         const std::string& key, const std::function<bool()>& isCancelled) {
    InstallCryptoMemory();
    RemoveParts(path);
    const std::string part = path + ".part";
    std::string reason;
    try {
        reason = CreateEmptyPrivateFile(part) ? Write(part, entries, key, isCancelled)
                                              : SystemMessage(static_cast<DWORD>(errno));
    } catch (const std::bad_alloc&) {
        ::unlink(part.c_str());
        throw;
    }
    if (reason.empty() && ::rename(part.c_str(), path.c_str()) != 0) {
        reason = SystemMessage(static_cast<DWORD>(errno));
    }
    if (!reason.empty()) {
        RemoveParts(path);
    }
    return reason;
}

} // namespace Nax::FrontEnd::XMLDB
