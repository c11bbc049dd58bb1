/// @file
/// The rights that the service asks of the system. It needs none beyond the host's own today; the
/// interface is where a platform that requires privileges requests them.
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
