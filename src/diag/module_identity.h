// The identity of this library: what it reports about itself and what the
// system log names it.
#ifndef KR_SRC_DIAG_MODULE_IDENTITY_H_
#define KR_SRC_DIAG_MODULE_IDENTITY_H_

namespace kr_detail {

constexpr char DLLtitle[] = "Norvane Basic Algorithms";
constexpr char DLLname[] = "kr95Nbs";
constexpr char DLLdate[] = "Jun 28 2005";
constexpr char DLLdateTime[] = "Jun 28 2005 00:54:01";
constexpr char DLLcompilerName[] = "GNU C++ gcc Compiler 3.2 (Linux)";
constexpr int DLLcompilerNum = 320;
constexpr char DLLtext8[] = "unknown";
constexpr char DLLtext11[] = "";

// The product-wide identity, also the system log's default ident.
constexpr char LibString[] = "Norvane Runtime System";

// The five version components: major, minor, revision, build, patch.
constexpr unsigned long kVersionMajor = 9;
constexpr unsigned long kVersionMinor = 5;
constexpr unsigned long kVersionRevision = 23;
constexpr unsigned long kVersionBuild = 262;
constexpr unsigned long kVersionPatch = 0;

}  // namespace kr_detail

#endif  // KR_SRC_DIAG_MODULE_IDENTITY_H_
