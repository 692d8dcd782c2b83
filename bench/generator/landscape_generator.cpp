// SPDX-License-Identifier: Apache-2.0
#include "landscape_generator.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "landscape_faults.h"
#include "landscape_writer.h"
#include "split_mix.h"

namespace Nax::FrontEnd::XMLDB::Bench {

namespace {

constexpr std::size_t MINIMAL_ENTRIES = 50;

// The part of a range that falls to one of several equal owners.
std::pair<std::size_t, std::size_t> Share(std::size_t count, std::size_t index,
                                          std::size_t owners) {
    return {count * index / owners, count * (index + 1) / owners};
}

std::string Numbered(std::string_view prefix, std::size_t number) {
    return std::string(prefix) + std::to_string(number);
}

template <std::size_t N>
std::string_view Pick(const std::array<std::string_view, N>& values, CSplitMix& random) {
    return values.at(random.Below(N));
}

} // namespace

CLandscapeGenerator::CLandscapeGenerator(const SGeneratorOptions& options) : m_options(options) {
    if (options.entries < MINIMAL_ENTRIES || options.files == 0 || !(options.faultRate >= 0.0) ||
        options.faultRate > 1.0) {
        throw std::invalid_argument(
            "a landscape needs at least 50 entries, a file and a fault rate from 0 to 1");
    }
    const auto share = [&options](std::size_t part) {
        return std::max<std::size_t>(1, options.entries / part);
    };
    std::size_t others = 0;
    const auto set = [this, &others](EKind kind, std::size_t count) {
        m_plan.Count(kind) = count;
        others += count;
    };
    m_plan.seed = options.seed;
    set(EKind::Workspace, share(400));
    set(EKind::Messageserver, share(100));
    set(EKind::Router, share(400));
    set(EKind::Webdispatcher, share(400));
    set(EKind::Ldap, share(1000));
    set(EKind::Node, share(50));
    // A sound landscape shows each service in one item, so there are as many of one as of the
    // other.
    const std::size_t pairs = (options.entries - others) / 2;
    m_plan.Count(EKind::Service) = pairs;
    m_plan.Count(EKind::Item) = pairs;
    m_plan.Count(EKind::Node) += options.entries - others - 2 * pairs;
}

void CLandscapeGenerator::GenerateFile(std::size_t fileIndex, const FEntrySink& sink) const {
    const auto emit = [&](EKind kind) {
        const auto [begin, end] = Share(m_plan.Count(kind), fileIndex, m_options.files);
        for (std::size_t number = begin; number < end; ++number) {
            sink(Make(kind, number));
        }
    };
    emit(EKind::Service);
    const auto [begin, end] = Share(m_plan.Count(EKind::Workspace), fileIndex, m_options.files);
    // Last in their section: a schema check looks no further in a container once an element in it
    // stands where it must not.
    std::vector<SModelEntry> tornOut;
    for (std::size_t number = begin; number < end; ++number) {
        sink(MakeWorkspaceTree(number, tornOut));
    }
    for (const SModelEntry& node : tornOut) {
        sink(node);
    }
    for (const EKind kind :
         {EKind::Messageserver, EKind::Router, EKind::Ldap, EKind::Webdispatcher}) {
        emit(kind);
    }
}

SModelEntry CLandscapeGenerator::Make(EKind kind, std::size_t number) const {
    CSplitMix random = m_plan.RandomFor(kind, number);
    SModelEntry entry = MakeSound(kind, number, random);
    if (const auto ordinal = FaultOrdinal(number)) {
        BreakEntry(m_plan, entry, number, *ordinal, random);
    }
    return entry;
}

std::optional<std::size_t> CLandscapeGenerator::FaultOrdinal(std::size_t number) const {
    const auto faultsBefore = [this](std::size_t count) {
        return static_cast<std::size_t>(static_cast<double>(count) * m_options.faultRate);
    };
    if (faultsBefore(number + 1) == faultsBefore(number)) {
        return std::nullopt;
    }
    return faultsBefore(number);
}

SModelEntry CLandscapeGenerator::MakeSound(EKind kind, std::size_t number,
                                           CSplitMix& random) const {
    SModelEntry entry;
    entry.kind = kind;
    entry.Set("uuid", m_plan.Uuid(kind, number));
    switch (kind) {
        case EKind::Service:
            FillService(entry, number, random);
            break;
        case EKind::Item:
            entry.Set("serviceid", m_plan.Uuid(EKind::Service, number));
            break;
        case EKind::Workspace:
        case EKind::Node:
            entry.Set("name", Numbered(kind == EKind::Node ? "Folder " : "Workspace ", number));
            entry.Set("expanded", random.Chance(0.5) ? "1" : "0");
            break;
        case EKind::Messageserver:
            entry.Set("name", Numbered("MS", number));
            entry.Set("host", Numbered("ms", number) + ".example.org");
            entry.Set("port", "3600");
            break;
        case EKind::Router:
            entry.Set("name", Numbered("Router ", number));
            entry.Set("router", Numbered("/H/router", number) + ".example.org/S/3299");
            break;
        case EKind::Webdispatcher:
            entry.Set("name", Numbered("Dispatcher ", number));
            entry.Set("url", Numbered("https://dispatcher", number) + ".example.org:44300");
            entry.Set("msid", m_plan.WebdispatcherMsid(number));
            break;
        default:
            entry.Set("name", Numbered("Directory ", number));
            entry.Set("server", Numbered("ldap", number) + ".example.org");
            entry.Set("mode", "0");
            entry.Set("node", "ou=systems,dc=example,dc=org");
            entry.Set("options", "sub");
            break;
    }
    return entry;
}

void CLandscapeGenerator::FillService(SModelEntry& service, std::size_t number,
                                      CSplitMix& random) const {
    static constexpr std::array<std::string_view, 8> TYPES = {
        "NAXGUI", "NAXGUI", "NAXGUI", "NAXGUI", "NAXGUI", "NAXGUI", "QRA", "URL"};
    service.Set("type", Pick(TYPES, random));
    service.Set("name", Numbered("System ", number));
    if (random.Chance(0.04)) {
        service.Set("type", random.Chance(0.5) ? "Shortcut" : "Reference");
        service.Set("shortcut", random.Chance(0.5) ? "1" : "0");
        service.Set("link",
                    m_plan.Uuid(EKind::Service, random.Below(m_plan.Count(EKind::Service))));
    }
    if (random.Chance(0.04)) {
        service.Set("uses_webdispatcher", "1");
        service.Set("msid",
                    m_plan.WebdispatcherMsid(random.Below(m_plan.Count(EKind::Webdispatcher))));
    } else if (random.Chance(0.5)) {
        service.Set("msid", m_plan.Uuid(EKind::Messageserver,
                                        random.Below(m_plan.Count(EKind::Messageserver))));
    } else {
        service.Set("server", Numbered("app", random.Below(1000)) + ":3200");
    }
    if (random.Chance(0.2)) {
        service.Set("routerid",
                    m_plan.Uuid(EKind::Router, random.Below(m_plan.Count(EKind::Router))));
    }
    FillServiceOptions(service, random);
}

void CLandscapeGenerator::FillServiceOptions(SModelEntry& service, CSplitMix& random) {
    static constexpr std::array<std::string_view, 6> SNC_OPERATIONS = {"-1", "0", "1",
                                                                       "2",  "3", "9"};
    static constexpr std::array<std::string_view, 4> LANGUAGES = {"EN", "DE", "FR", "JA"};
    struct SOption {
        std::string_view name;
        double share;
        std::string_view value;
    };
    static constexpr std::array<SOption, 17> OPTIONS = {{{"mode", 0.9, "1"},
                                                         {"dcpg", 0.8, "2"},
                                                         {"expert", 0.7, "0"},
                                                         {"reuse", 0.7, "1"},
                                                         {"slc", 0.7, "0"},
                                                         {"wan", 0.7, "0"},
                                                         {"wp", 0.7, "1"},
                                                         {"sso2", 0.3, "1"},
                                                         {"uncoff", 0.3, "0"},
                                                         {"trace", 0.3, "0"},
                                                         {"def", 0.3, "0"},
                                                         {"port", 0.2, "3200"},
                                                         {"sncname", 0.4, "p:CN=SYS, O=Example"},
                                                         {"sncnosso", 0.3, "1"},
                                                         {"encoding", 0.1, "UTF-8"},
                                                         {"transaction", 0.05, "START & RUN"},
                                                         {"work_dir", 0.05, "C:\\Work\\"}}};
    std::string systemId(1, static_cast<char>('A' + random.Below(26)));
    systemId += std::to_string(10 + random.Below(90));
    service.Set("systemid", systemId);
    service.Set("client", std::to_string(100 + random.Below(800)));
    service.Set("language", Pick(LANGUAGES, random));
    for (const SOption& option : OPTIONS) {
        if (random.Chance(option.share)) {
            service.Set(option.name, option.value);
        }
    }
    if (random.Chance(0.5)) {
        service.Set("sncop", Pick(SNC_OPERATIONS, random));
    }
    if (random.Chance(0.1)) {
        service.Set("description", Numbered("Productive system, building ", random.Below(100)));
    }
    if (random.Chance(0.02)) {
        service.memo = Numbered("Ask the administrators first.\nExtension: ", random.Below(10'000));
    }
}

SModelEntry CLandscapeGenerator::MakeWorkspaceTree(std::size_t number,
                                                   std::vector<SModelEntry>& tornOut) const {
    constexpr std::size_t NESTING = 3;
    const std::size_t workspaces = m_plan.Count(EKind::Workspace);
    SModelEntry workspace = Make(EKind::Workspace, number);
    std::vector<SModelEntry> nodes;
    const auto [nodeBegin, nodeEnd] = Share(m_plan.Count(EKind::Node), number, workspaces);
    for (std::size_t node = nodeBegin; node < nodeEnd; ++node) {
        nodes.push_back(Make(EKind::Node, node));
    }
    const auto [itemBegin, itemEnd] = Share(m_plan.Count(EKind::Item), number, workspaces);
    for (std::size_t item = itemBegin; item < itemEnd; ++item) {
        const std::size_t slot = item % (nodes.size() + 1);
        SModelEntry& parent = slot == 0 ? workspace : nodes.at(slot - 1);
        parent.children.push_back(Make(EKind::Item, item));
    }
    // From the last node back, so that a node has all its children before it moves into its parent.
    for (std::size_t index = nodes.size(); index-- > 0;) {
        SModelEntry& node = nodes.at(index);
        const auto ordinal = FaultOrdinal(nodeBegin + index);
        if (ordinal && TearsOut(*ordinal)) {
            tornOut.push_back(std::move(node));
            continue;
        }
        SModelEntry& parent = index % NESTING == 0 ? workspace : nodes.at(index - 1);
        parent.children.push_back(std::move(node));
    }
    return workspace;
}

std::string LandscapeFileName(const std::string& mainName, std::size_t fileIndex) {
    if (fileIndex == 0) {
        return mainName;
    }
    const std::filesystem::path path(mainName);
    return path.stem().string() + "_" + std::to_string(fileIndex) + path.extension().string();
}

namespace {

std::vector<SModelInclude> IncludesOf(const SGeneratorOptions& options, const std::string& mainName,
                                      std::size_t fileIndex) {
    std::vector<SModelInclude> includes;
    for (std::size_t index = 1; fileIndex == 0 && index < options.files; ++index) {
        includes.push_back({LandscapeFileName(mainName, index),
                            Numbered("Region ", index) + " of the installation",
                            Numbered("Region ", index)});
    }
    return includes;
}

} // namespace

void WriteLandscape(const SGeneratorOptions& options, const std::filesystem::path& path) {
    const CLandscapeGenerator generator(options);
    const std::string mainName = path.filename().string();
    for (std::size_t index = 0; index < options.files; ++index) {
        const std::filesystem::path file = path.parent_path() / LandscapeFileName(mainName, index);
        std::ofstream stream(file, std::ios::binary);
        CLandscapeWriter writer(stream);
        writer.Begin(IncludesOf(options, mainName, index));
        generator.GenerateFile(index, [&writer](const SModelEntry& entry) { writer.Write(entry); });
        writer.End();
        if (!stream.flush()) {
            throw std::runtime_error("cannot write the landscape file " + file.string());
        }
    }
}

SLandscapeModel GenerateLandscape(const SGeneratorOptions& options) {
    const CLandscapeGenerator generator(options);
    SLandscapeModel model;
    for (std::size_t index = 0; index < options.files; ++index) {
        SModelFile& file = model.files.emplace_back();
        file.name = LandscapeFileName("landscape.xml", index);
        file.includes = IncludesOf(options, "landscape.xml", index);
        generator.GenerateFile(
            index, [&file](const SModelEntry& entry) { file.entries.push_back(entry); });
    }
    return model;
}

} // namespace Nax::FrontEnd::XMLDB::Bench
