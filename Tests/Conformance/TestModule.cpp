// A library to load; returns which of its builds it is.
extern "C" int ModuleNumber();

int ModuleNumber()
{
    return MODULE_NUMBER;
}
