#include "RegistryTree.h"

#include <algorithm>

namespace Platform
{

namespace
{

// Removes the first part from the path and returns it; empty at the end.
std::string_view NextPart(std::string_view& path)
{
    path.remove_prefix(std::min(path.find_first_not_of('\\'), path.size()));
    const std::string_view part = path.substr(0, path.find('\\'));
    path.remove_prefix(part.size());
    return part;
}

} // namespace

RegistryKeyPtr RegistryKey::MakeRoot()
{
    return std::make_shared<RegistryKey>();
}

RegistryKeyPtr RegistryKey::Find(std::string_view path)
{
    RegistryKeyPtr key = shared_from_this();
    for (auto part = NextPart(path); !part.empty(); part = NextPart(path))
    {
        const auto found = key->Subkeys.find(part);
        if (found == key->Subkeys.end())
            return nullptr;
        key = found->second;
    }
    return key;
}

RegistryKeyPtr RegistryKey::FindOrCreate(std::string_view path)
{
    NewKey created(*this, path);
    created.Attach();
    return created.Key();
}

NewKey::NewKey(RegistryKey& from, std::string_view path) : Parent(from.shared_from_this()), Leaf(Parent)
{
    for (auto part = NextPart(path); !part.empty(); part = NextPart(path))
    {
        const auto found = Leaf->Subkeys.find(part);
        if (found != Leaf->Subkeys.end())
        {
            Leaf = found->second;
            Parent = Leaf;
            continue;
        }
        const auto below = std::make_shared<RegistryKey>();
        below->Name = part;
        below->Parent = Leaf;
        // The first missing key waits in Branch; those below it are already linked to it.
        (Leaf == Parent ? Branch : Leaf->Subkeys).emplace(part, below);
        Leaf = below;
    }
}

std::string RegistryKey::Path() const
{
    const RegistryKeyPtr parent = Parent.lock();
    if (!parent || Deleted)
        return "";
    const std::string above = parent->Path();
    return above.empty() ? Name : above + '\\' + Name;
}

std::vector<std::string> RegistryKey::SubkeyNames() const
{
    std::vector<std::string> names;
    for (const auto& [name, key] : Subkeys)
        names.push_back(name);
    return names;
}

void RegistryKey::ForAll(const std::function<void(const std::string& path, RegistryKey& key)>& visit) const
{
    for (const auto& [name, key] : Subkeys)
    {
        visit(key->Path(), *key);
        key->ForAll(visit);
    }
}

void RegistryKey::Delete()
{
    const RegistryKeyPtr keep = shared_from_this(); // the parent may hold the last reference
    // Null for a key whose parent has been deleted and is no longer open.
    if (const RegistryKeyPtr parent = Parent.lock())
        parent->Subkeys.erase(Name);
    MarkDeleted();
}

// Open handles keep the keys alive, and calls on them must fail with ERROR_KEY_DELETED.
void RegistryKey::MarkDeleted()
{
    Deleted = true;
    for (const auto& [name, key] : Subkeys)
        key->MarkDeleted();
    Subkeys.clear();
    Values.clear();
}

} // namespace Platform
