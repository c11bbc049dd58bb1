/// @file
/// The keys of a machine's registry, without handles and error numbers.
#pragma once

#include "Machine.h"
#include "Text.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Platform
{

using ValueMap = std::map<std::string, RegistryValue, NameLess>;

class RegistryKey;
using RegistryKeyPtr = std::shared_ptr<RegistryKey>;

/// One key. A whole tree is guarded by its machine's lock. Paths are relative to the key; empty parts are skipped.
class RegistryKey : public std::enable_shared_from_this<RegistryKey>
{
public:
    static RegistryKeyPtr MakeRoot();

    /// Returns null if there is no such key.
    RegistryKeyPtr Find(std::string_view path);
    RegistryKeyPtr FindOrCreate(std::string_view path);
    /// Removes the key and all keys below it. Open handles keep the keys, marked as deleted.
    void Delete();

    /// Returns the path from the root; empty for the root and for a deleted key.
    std::string Path() const;
    /// Visits every key below this one, parents first.
    void ForAll(const std::function<void(const std::string& path, RegistryKey& key)>& visit) const;

    bool IsRoot() const { return Parent.expired() && !Deleted; }
    bool IsDeleted() const { return Deleted; }
    bool HasSubkeys() const { return !Subkeys.empty(); }
    std::vector<std::string> SubkeyNames() const;

    ValueMap Values;

private:
    friend class NewKey;
    void MarkDeleted();

    std::string Name;
    std::weak_ptr<RegistryKey> Parent;
    std::map<std::string, RegistryKeyPtr, NameLess> Subkeys;
    bool Deleted = false;
};

/// A key of a path, created with its missing parents. They join the tree together in Attach, after all work that
/// can fail.
class NewKey
{
public:
    NewKey(RegistryKey& from, std::string_view path);

    const RegistryKeyPtr& Key() const { return Leaf; }
    /// Cannot fail.
    void Attach() { Parent->Subkeys.merge(Branch); }

private:
    RegistryKeyPtr Parent; // the deepest key of the path that exists
    std::map<std::string, RegistryKeyPtr, NameLess> Branch;
    RegistryKeyPtr Leaf;
};

} // namespace Platform
