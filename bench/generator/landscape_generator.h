// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "landscape_model.h"
#include "landscape_plan.h"
#include "split_mix.h"

namespace Nax::FrontEnd::XMLDB::Bench {

struct SGeneratorOptions {
    std::size_t entries = 200'000;
    double faultRate = 0.01;
    std::uint64_t seed = 1;
    std::size_t files = 1;
};

/// Generates landscapes like those of a large installation: services and the items that show them
/// are 96 of 100 entries, the rest are nodes, workspaces, message servers, routers, web dispatchers
/// and LDAP directories. With a fault rate of 0 no rule and no schema check finds anything; else
/// that share of the entries carries a fault (rounded down per kind), and within each kind of entry
/// the kinds of fault take turns, so that together they provoke every rule.
///
/// Nothing is remembered between entries: the uuid of an entry follows from its kind, its number
/// and the seed. Memory is thus that of one workspace (some two hundred items) at any size. The
/// same options give the same entries everywhere. One thread at a time.
class CLandscapeGenerator {
public:
    using FEntrySink = std::function<void(const SModelEntry&)>;

    /// Throws std::invalid_argument for fewer than 50 entries, no file or a rate outside 0 to 1.
    explicit CLandscapeGenerator(const SGeneratorOptions& options);

    /// Hands over the top-level entries of one file in the order in which they are written.
    void GenerateFile(std::size_t fileIndex, const FEntrySink& sink) const;

private:
    SModelEntry Make(EKind kind, std::size_t number) const;
    SModelEntry MakeSound(EKind kind, std::size_t number, CSplitMix& random) const;
    void FillService(SModelEntry& service, std::size_t number, CSplitMix& random) const;
    static void FillServiceOptions(SModelEntry& service, CSplitMix& random);

    /// The workspace with its nodes and items. Nodes that a fault tears out of it go to tornOut.
    SModelEntry MakeWorkspaceTree(std::size_t number, std::vector<SModelEntry>& tornOut) const;

    /// How many entries of its kind before this one are faulty; empty when the entry is sound.
    std::optional<std::size_t> FaultOrdinal(std::size_t number) const;

    SGeneratorOptions m_options;
    CLandscapePlan m_plan;
};

/// The name of a file of the landscape whose main file is called mainName: the included files get
/// the number before the extension.
std::string LandscapeFileName(const std::string& mainName, std::size_t fileIndex);

/// Writes the landscape with its main file at the path and the included files beside it. Throws
/// std::runtime_error, with the path, when a file cannot be written.
void WriteLandscape(const SGeneratorOptions& options, const std::filesystem::path& path);

/// The same landscape in memory, for tests.
SLandscapeModel GenerateLandscape(const SGeneratorOptions& options);

} // namespace Nax::FrontEnd::XMLDB::Bench
