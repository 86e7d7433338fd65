#include <kr/diag.h>
#include <cstdio>
int main() { return std::puts(KrError(nullptr, "Open", -2008, 0)) < 0; }
