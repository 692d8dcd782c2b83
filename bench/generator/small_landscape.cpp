// SPDX-License-Identifier: Apache-2.0
#include "small_landscape.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "split_mix.h"

namespace Nax::FrontEnd::XMLDB::Bench {

namespace {

// Sound uuids; the last three differ from the first in letter case or in one digit only.
constexpr std::array<std::string_view, 9> SOUND_UUIDS = {
    "0a1b2c3d-0000-4000-8000-00000000000a", "11111111-2222-3333-4444-555555555555",
    "deadbeef-dead-beef-dead-beefdeadbeef", "00000000-0000-0000-0000-000000000000",
    "ABCDEF01-2345-6789-ABCD-EF0123456789", "fedcba98-7654-3210-fedc-ba9876543210",
    "0A1B2C3D-0000-4000-8000-00000000000A", "0a1b2c3d-0000-4000-8000-00000000000b",
    "0a1b2c3d-0000-4000-8000-00000000000A"};

constexpr std::array<std::string_view, 14> BROKEN_UUIDS = {
    "{11111111-2222-3333-4444-555555555555}",
    "11111111222233334444555555555555",
    "11111111-2222-3333-4444-555555555555\n",
    " 11111111-2222-3333-4444-555555555555",
    "g1111111-2222-3333-4444-555555555555",
    "x1111111-2222-3333-4444-555555555555",
    "11111111-2222-3333-4444-55555555555",
    "11111111-2222-3333-4444-555555555555 f_uuid:1",
    "\xd9\xa1\xd9\xa2-\xe2\x80\x93",
    "-",
    "0",
    "'; DROP TABLE Services; --",
    "NULL",
    "%s"};

constexpr std::array<std::string_view, 26> TEXTS = {
    "System",
    "system",
    "System ",
    "a 'quoted' \"text\"",
    "''",
    "\"",
    "semi;colon;",
    "pdf_name:x",
    "f_uuid:11111111-2222-3333-4444-555555555555",
    "x f_name:y f_uuid:z",
    "f_data:",
    "@message",
    "@ruleid",
    "%s %d %%",
    "line\nbreak\r\nand\ttab\r",
    "<tag attr='1'>&amp;</tag>",
    "]]>",
    "\\",
    "a,b|c",
    "NULL",
    "-- comment /* x */",
    "Z\xc3\xbcrich",
    "e\xcc\x81 \xe2\x80\xa8 \xe2\x80\x8f \xc2\xa0",
    "\xf0\x9f\x9a\x80 \xf0\xaf\xa0\x80 \xf4\x8f\xbf\xbd",
    "\xef\xbb\xbf"
    "bom",
    "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e"};

constexpr std::array<std::string_view, 16> SNC_OPERATIONS = {
    "0", "1", "2", "3", "9", "-1", "--1", "4", "-9", " 1", "01", "1.0", "+1", "12", "", "1e0"};

constexpr std::array<std::string_view, 6> FLAGS = {"0", "1", "", "01", "2", "yes"};

// Free attributes of a service: the rules do not read them, yet their texts must not disturb the
// columns that they do read. The last one is unknown to the schema.
constexpr std::array<std::string_view, 12> FREE_ATTRIBUTES = {
    "temporary", "transaction", "sncname",   "url",    "trace", "parameters",
    "guiparam",  "work_dir",    "system_id", "winmax", "cmd",   "vendor_hint"};

class CSmallGenerator {
public:
    explicit CSmallGenerator(std::uint64_t seed)
        : m_random(seed),
          // Each landscape has its own habits, so that some are nearly sound and some hopeless.
          m_pool(1 + m_random.Below(SOUND_UUIDS.size())),
          m_broken(PickShare()),
          m_absent(PickShare()) {}

    SLandscapeModel Generate() {
        SLandscapeModel model;
        model.files.resize(1 + m_random.Below(3));
        std::size_t entries = 5 + m_random.Below(56);
        for (; entries > 0; --entries) {
            Place(model.files.at(m_random.Below(model.files.size())));
        }
        for (std::size_t index = 0; index < model.files.size(); ++index) {
            Finish(model, index);
        }
        return model;
    }

private:
    double PickShare() {
        static constexpr std::array<double, 4> SHARES = {0.0, 0.05, 0.2, 0.5};
        return SHARES.at(m_random.Below(SHARES.size()));
    }

    template <std::size_t N>
    std::string Pick(const std::array<std::string_view, N>& values) {
        return std::string(values.at(m_random.Below(N)));
    }

    std::string Uuid() {
        if (!m_random.Chance(m_broken)) {
            return std::string(SOUND_UUIDS.at(m_random.Below(m_pool)));
        }
        return m_random.Chance(0.25) ? std::string() : Pick(BROKEN_UUIDS);
    }

    void SetUuid(SModelEntry& entry, std::string_view name) {
        if (!m_random.Chance(m_absent)) {
            entry.Set(name, Uuid());
        }
    }

    void SetText(SModelEntry& entry, std::string_view name) {
        if (!m_random.Chance(m_absent)) {
            entry.Set(name, m_random.Chance(0.1) ? std::string() : Pick(TEXTS));
        }
    }

    SModelEntry Make(EKind kind) {
        SModelEntry entry;
        entry.kind = kind;
        SetUuid(entry, "uuid");
        switch (kind) {
            case EKind::Service:
                FillService(entry);
                break;
            case EKind::Item:
                SetUuid(entry, "serviceid");
                break;
            case EKind::Messageserver:
                SetFew(entry, "name");
                SetFew(entry, "host");
                break;
            case EKind::Webdispatcher:
                SetUuid(entry, "msid");
                [[fallthrough]];
            default:
                SetText(entry, "name");
                break;
        }
        if (m_random.Chance(0.2) && kind != EKind::Item && kind != EKind::Service) {
            entry.Set("description", Pick(TEXTS));
        }
        return entry;
    }

    // Two values and none, so that copies of a message server agree as often as they differ.
    void SetFew(SModelEntry& entry, std::string_view name) {
        if (!m_random.Chance(m_absent)) {
            entry.Set(name, m_random.Chance(0.8) ? "ms'1" : "");
        }
    }

    void FillService(SModelEntry& service) {
        SetText(service, "name");
        if (m_random.Chance(0.5)) {
            service.Set("sncop", Pick(SNC_OPERATIONS));
        }
        for (const std::string_view reference : {"msid", "routerid", "link"}) {
            if (m_random.Chance(0.6)) {
                SetUuid(service, reference);
            }
        }
        for (const std::string_view flag : {"shortcut", "uses_webdispatcher"}) {
            if (m_random.Chance(0.6)) {
                service.Set(
                    flag, m_random.Chance(0.3) ? Pick(FLAGS) : (m_random.Chance(0.5) ? "1" : "0"));
            }
        }
        for (std::size_t count = m_random.Below(5); count > 0; --count) {
            // One draw a statement: compilers differ in the order in which they evaluate arguments.
            const std::string name = Pick(FREE_ATTRIBUTES);
            service.Set(name, Pick(TEXTS));
        }
        service.Set("type", m_random.Chance(0.9) ? "NAXGUI" : "?");
        if (m_random.Chance(0.3)) {
            std::string memo = Pick(TEXTS);
            memo += Pick(TEXTS);
            service.memo = std::move(memo);
        }
    }

    void Place(SModelFile& file) {
        static constexpr std::array KINDS = {
            EKind::Service,       EKind::Service, EKind::Service,        EKind::Item,
            EKind::Item,          EKind::Item,    EKind::Node,           EKind::Workspace,
            EKind::Messageserver, EKind::Router,  EKind::Webdispatcher,  EKind::Ldap,
            EKind::Messageserver, EKind::Node,    EKind::ServiceTemplate};
        SModelEntry entry = Make(KINDS.at(m_random.Below(KINDS.size())));
        if (entry.kind == EKind::Item || entry.kind == EKind::Node) {
            if (SModelEntry* parent = FindParent(file.entries)) {
                parent->children.push_back(std::move(entry));
                return;
            }
        }
        file.entries.push_back(std::move(entry));
    }

    // Null, in one case of ten and when there is no workspace yet: the entry stands loose.
    SModelEntry* FindParent(std::vector<SModelEntry>& entries) {
        if (m_random.Chance(0.1)) {
            return nullptr;
        }
        SModelEntry* parent = nullptr;
        std::vector<SModelEntry>* level = &entries;
        do {
            SModelEntry* next = PickHolder(*level);
            if (next == nullptr) {
                return parent;
            }
            parent = next;
            level = &parent->children;
        } while (m_random.Chance(0.5));
        return parent;
    }

    SModelEntry* PickHolder(std::vector<SModelEntry>& entries) {
        std::vector<SModelEntry*> holders;
        for (SModelEntry& entry : entries) {
            if (entry.kind == EKind::Workspace || entry.kind == EKind::Node) {
                holders.push_back(&entry);
            }
        }
        return holders.empty() ? nullptr : holders.at(m_random.Below(holders.size()));
    }

    // The main file names all others in order. Any file may name itself, the main file and later
    // ones again; that discovers nothing new, whatever the order of the walk.
    void Finish(SLandscapeModel& model, std::size_t index) {
        SModelFile& file = model.files.at(index);
        file.name = FileName(index);
        const auto section = [](const SModelEntry& entry) {
            const bool inWorkspaces = entry.kind == EKind::Node || entry.kind == EKind::Item;
            return inWorkspaces ? EKind::Workspace : entry.kind;
        };
        std::ranges::stable_sort(file.entries, {}, section);
        for (std::size_t other = index + 1; other < model.files.size(); ++other) {
            if (index == 0 || m_random.Chance(0.5)) {
                file.includes.push_back(Include(other));
            }
        }
        for (const std::size_t known : {std::size_t{0}, index}) {
            if (m_random.Chance(0.2)) {
                file.includes.push_back(Include(known));
            }
        }
    }

    SModelInclude Include(std::size_t index) {
        SModelInclude include{FileName(index), {}, {}};
        if (m_random.Chance(0.5)) {
            include.description = Pick(TEXTS);
        }
        if (m_random.Chance(0.5)) {
            include.name = Pick(TEXTS);
        }
        return include;
    }

    static std::string FileName(std::size_t index) {
        return index == 0 ? "landscape.xml" : "landscape_" + std::to_string(index) + ".xml";
    }

    CSplitMix m_random;
    std::size_t m_pool;
    double m_broken;
    double m_absent;
};

} // namespace

SLandscapeModel GenerateSmallLandscape(std::uint64_t seed) {
    return CSmallGenerator(seed).Generate();
}

} // namespace Nax::FrontEnd::XMLDB::Bench
