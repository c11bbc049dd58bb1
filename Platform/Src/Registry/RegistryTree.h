/// @file
/// The keys of a machine's registry, without handles and error numbers.
#pragma once

#include "Machine.h"
#include "Text.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Platform
{

using ValueMap = std::map<std::string, RegistryValue, NameLess>;

class RegistryKey;
using RegistryKeyPtr = std::shared_ptr<RegistryKey>;

/// One key. All of a tree is guarded by its machine's lock; paths are relative to the key, and empty
/// parts of a path are passed over.
class RegistryKey : public std::enable_shared_from_this<RegistryKey>
{
public:
    static RegistryKeyPtr MakeRoot();

    /// Null when there is no such key.
    RegistryKeyPtr Find(std::string_view path);
    RegistryKeyPtr FindOrCreate(std::string_view path);
    /// Takes the key and all below it out of the tree. Handles may keep the keys, marked as deleted.
    void Delete();

    bool IsRoot() const { return Parent.expired() && !Deleted; }
    bool IsDeleted() const { return Deleted; }
    bool HasSubkeys() const { return !Subkeys.empty(); }

    ValueMap Values;

private:
    friend class NewKey;
    void MarkDeleted();

    std::string Name;
    std::weak_ptr<RegistryKey> Parent;
    std::map<std::string, RegistryKeyPtr, NameLess> Subkeys;
    bool Deleted = false;
};

/// The key of a path, made with those above it that are missing. They join the tree together and only when
/// all work that can fail is done.
class NewKey
{
public:
    NewKey(RegistryKey& from, std::string_view path);

    const RegistryKeyPtr& Key() const { return Leaf; }
    /// Cannot fail.
    void Attach() { Parent->Subkeys.merge(Branch); }

private:
    RegistryKeyPtr Parent; // deepest key of the path that the tree has
    std::map<std::string, RegistryKeyPtr, NameLess> Branch;
    RegistryKeyPtr Leaf;
};

} // namespace Platform
