// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB::Bench {

/// The kinds of landscape entry, in the order in which their sections are written. The first eight
/// are the repositories that the rules look at.
enum class EKind {
    Service,
    Workspace,
    Node,
    Item,
    Messageserver,
    Router,
    Ldap,
    Webdispatcher,
    ServiceTemplate
};

inline constexpr std::size_t REPOSITORY_COUNT = 8;

struct SModelAttribute {
    std::string name;
    std::string value;
};

/// One element. An attribute that is not in the list is absent from the file. Only workspaces and
/// nodes have children; a node or item that stands outside of every workspace is written straight
/// into the container of the workspaces, where the schema does not allow it.
struct SModelEntry {
    EKind kind = EKind::Service;
    std::vector<SModelAttribute> attributes;
    std::optional<std::string> memo;
    std::vector<SModelEntry> children;

    void Set(std::string_view name, std::string_view value) {
        for (SModelAttribute& attribute : attributes) {
            if (attribute.name == name) {
                attribute.value = value;
                return;
            }
        }
        attributes.push_back({std::string(name), std::string(value)});
    }

    void Remove(std::string_view name) {
        std::erase_if(attributes, [name](const SModelAttribute& a) { return a.name == name; });
    }

    std::optional<std::string> Get(std::string_view name) const {
        for (const SModelAttribute& attribute : attributes) {
            if (attribute.name == name) {
                return attribute.value;
            }
        }
        return std::nullopt;
    }
};

struct SModelInclude {
    std::string url;
    std::optional<std::string> description;
    std::optional<std::string> name;
};

/// Entries stand in document order: sections in the order of EKind, but workspaces, loose nodes and
/// loose items share one section and may be mixed.
struct SModelFile {
    std::string name;
    std::vector<SModelInclude> includes;
    std::vector<SModelEntry> entries;
};

/// The position of a file is its file index: the main file is the first, and the generators write
/// includes so that the files are discovered in this order, breadth first or depth first.
struct SLandscapeModel {
    std::vector<SModelFile> files;
};

} // namespace Nax::FrontEnd::XMLDB::Bench
