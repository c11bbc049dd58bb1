#include "TracePoint.h"

constinit CTraceControl TraceControl;
constinit std::atomic<const void*> TraceControlPtr{&TraceControlPtr};
