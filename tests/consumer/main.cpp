// A host written against the package's interface, built outside the source tree.
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstring>

using namespace tn;

int main() {
    TPString s("abc", 0);
    s += 'x';
    TPString t = s + 5;
    if (std::strcmp(t.c_str(), "abcx5") != 0) return 1;
    if (!(s == TPString("ABCX", 0))) return 2;
    if (std::strcmp(s.SubString(2, 3).c_str(), "bcx") != 0) return 3;
    WrnEnabled = false;
    Warning("not shown");
    std::printf("consumer ok: %s\n", t.c_str());
    return 0;
}
