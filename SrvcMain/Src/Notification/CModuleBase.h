/// @file
/// The common base of all objects that the factory creates.
#pragma once

/// Last base of every module class.
class CModuleBase
{
public:
    CModuleBase() = default;
    virtual ~CModuleBase() = default;
    CModuleBase(const CModuleBase&) = delete;
    CModuleBase& operator=(const CModuleBase&) = delete;

    /// The factory does not return a module that reports false.
    virtual bool IsModuleReady() { return true; }
};
