// The process-wide service-stopped flag.
#include <kr/diag.h>

#include "diag/process_state.h"

int KIRO_Service_hasStopped() { return kr_detail::bServiceHasStopped; }

void StopKIRO_Service() { kr_detail::bServiceHasStopped = 1; }
