#include "Adapters.h"

#include "Machine.h"

#include <map>

struct Adapters::Impl
{
    Platform::ScopedMachine Box;
    std::map<WideText, Platform::AdapterId> Ids;
};

Adapters::Adapters() : Self(std::make_unique<Impl>()) {}

Adapters::~Adapters()
{
    EXPECT_EQ(Platform::CountOpenObjects().Total(), 0U);
}

void Adapters::Add(const AdapterTexts& texts)
{
    Self->Ids[texts.HardwareId] = Self->Box->AddAdapter({.Service = texts.Service,
                                                         .HardwareId = texts.HardwareId,
                                                         .FriendlyName = texts.FriendlyName,
                                                         .Description = texts.Description});
}

void Adapters::Remove(const WideText& hardwareId)
{
    Self->Box->RemoveAdapter(Self->Ids.at(hardwareId));
}
