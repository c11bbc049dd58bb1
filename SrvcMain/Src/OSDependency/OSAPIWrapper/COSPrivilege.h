/// @file
/// The privileges that the service requests. It needs none beyond those of the host; a platform that
/// requires privileges implements the interface.
#pragma once

class COSPrivilege
{
public:
    virtual void AdjustPrivilege() = 0;

protected:
    COSPrivilege() = default;
    ~COSPrivilege() = default;
    COSPrivilege(const COSPrivilege&) = default;
    COSPrivilege& operator=(const COSPrivilege&) = default;
};

class CWinOSPrivilege final : public COSPrivilege
{
public:
    void AdjustPrivilege() override {}
};
