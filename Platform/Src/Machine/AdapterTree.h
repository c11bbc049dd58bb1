/// @file
/// The adapters of one machine and their registry keys.
#pragma once

#include "Machine.h"
#include "RegistryTree.h"

#include <map>
#include <string_view>

namespace Platform
{

inline constexpr std::string_view ClassRootPath = R"(SYSTEM\CurrentControlSet\Control\Class)";
inline constexpr std::string_view NetworkClassText = "{4D36E972-E325-11CE-BFC1-08002BE10318}";

struct AdapterNode
{
    AdapterDescription Description;
    std::uint64_t Version = 0; ///< Grows with each change.
    bool Uninstalled = false;  ///< Of the driver. Reset when the adapter is present again.
};

/// Guarded by the machine's lock, together with the registry that it keeps up to date.
class AdapterTree
{
public:
    /// @param root of the registry.
    explicit AdapterTree(RegistryKeyPtr root);

    /// Assigns the next free driver key if the description asks for one.
    AdapterId Add(AdapterDescription adapter);
    /// @throws std::out_of_range for a removed adapter, like Remove.
    void Change(AdapterId id, AdapterDescription description);
    void Remove(AdapterId id);
    /// Removes the driver and its key from an absent adapter. Does nothing to a present one.
    void Uninstall(AdapterId id);
    /// Puts a copied adapter in the place of the one with this id, if there is one, and leaves the registry unchanged.
    void Restore(AdapterId id, const AdapterNode& node);
    /// Removes an adapter and leaves the registry unchanged.
    void Forget(AdapterId id) { Nodes.erase(id); }
    /// The largest id ever used.
    AdapterId LastUsed() const { return LastId; }
    void SetLastUsed(AdapterId id) { LastId = id; }
    /// Null for a removed adapter.
    const AdapterNode* Find(AdapterId id) const;
    /// By id, which is the order of adding.
    const std::map<AdapterId, AdapterNode>& All() const { return Nodes; }

private:
    std::u16string FreeDriverKey() const;

    RegistryKeyPtr Root;
    std::map<AdapterId, AdapterNode> Nodes;
    AdapterId LastId = 0;
};

} // namespace Platform
