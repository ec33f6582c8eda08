#pragma once
// Marks the classes and functions that the client may call; everything else stays inside the library.
#if defined(SERVICE_BUSINESS_BUILDING)
#define SERVICE_BUSINESS_EXPORT __attribute__((visibility("default")))
#else
#define SERVICE_BUSINESS_EXPORT
#endif
