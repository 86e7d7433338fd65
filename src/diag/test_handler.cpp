// The fault-injection hook of growth operations.
#include <kr/diag.h>

#include "diag/process_state.h"

namespace {

constexpr unsigned long kGrowthKind = 1;
constexpr int kInjectedFailure = -313;

}  // namespace

int TestHandler(unsigned long kind, void*, void*) {
  using kr_detail::GrowErrorCounter;
  if (kr_detail::IsInit == 0) {
    static char const* testSection[] = {"test", nullptr};
    if (KrConfig* config = DefaultConfig(KrQueryConfig())) {
      config->GetInt("growErrorCounter", &GrowErrorCounter, testSection);
    }
    kr_detail::IsInit = 1;
  }
  if (kind != kGrowthKind) return 0;
  if (GrowErrorCounter < 1) return 0;
  --GrowErrorCounter;
  return kInjectedFailure;
}

void TestHandlerReset() {
  kr_detail::GrowErrorCounter = 0;
  kr_detail::IsInit = 0;
}
