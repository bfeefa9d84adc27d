// The export macro of libQNTools.so: everything without it stays inside.
#pragma once
#if defined(QN_BUILDING)
#define QN_API __attribute__((visibility("default")))
#else
#define QN_API
#endif
