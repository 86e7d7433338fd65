// The default configuration and the server setting cached from it.
#include <kr/diag.h>

#include "diag/process_state.h"

using kr_detail::defConfig;

KrConfig::~KrConfig() {}

KrConfig* DefaultConfig(KrConfig* config) {
  if (config != KrQueryConfig()) defConfig = config;
  return defConfig;
}

int GetDisableWin32PriorityBoost() {
  int& cached = kr_detail::disableWin32PriorityBoost;
  if (cached != -1) return cached != 0;
  static char const* serverSection[] = {"servers", "krserver", nullptr};
  short value = 0;
  if (KrConfig* config = DefaultConfig(KrQueryConfig())) {
    config->GetBool("disableWin32PriorityBoost", &value, serverSection);
  }
  cached = value != 0;
  return cached;
}
