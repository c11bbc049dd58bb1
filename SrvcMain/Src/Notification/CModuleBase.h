/// @file
/// What every object that the factory makes has in common.
#pragma once

/// Last base of every module class.
class CModuleBase
{
public:
    CModuleBase() = default;
    virtual ~CModuleBase() = default;
    CModuleBase(const CModuleBase&) = delete;
    CModuleBase& operator=(const CModuleBase&) = delete;

    /// A module that reports false is not handed out.
    virtual bool IsModuleReady() { return true; }
};
