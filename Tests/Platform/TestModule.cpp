// A library to load; tells which of its builds it is.
extern "C" __attribute__((visibility("default"))) int ModuleNumber()
{
    return MODULE_NUMBER;
}
