// A module without a self-description: only a plain entry point.
extern "C" int KrTestPlainAnswer() { return 42; }
