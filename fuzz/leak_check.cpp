// A deliberate leak: the test command builds this with AddressSanitizer and
// expects LeakSanitizer to report it, so a machine where leak detection does
// not work (it needs ptrace) cannot pass the sanitizer run unnoticed.
#include <cstdlib>
#include <cstring>

char* volatile kept;

int main() {
    kept = static_cast<char*>(malloc(64));
    strcpy(kept, "leaked on purpose");
    kept = nullptr;
    return 0;
}
