// kr95Nbs platform services: date, time and time zone, timers, and typed
// values moved between memory and stored byte order.
#ifndef KR_PLATFORM_H_
#define KR_PLATFORM_H_

#include <kr/export.h>

#endif  // KR_PLATFORM_H_
