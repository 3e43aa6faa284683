// The unit tests' guard: while a test runs, the real Apache, PHP and service
// tools cannot run and the real /etc, /var and /run cannot change. As root, the
// test process moves into a mount namespace of its own where /etc, /var and
// /run are overlays whose changes land in a tmpfs of the test's scratch root,
// and every such program in the system's bin folders is covered by a tripwire
// script that records its call and exits 126. findings() lists each tripped
// tool and each path written through an overlay; nothing leaves the namespace.
#ifndef QZ_TEST_GUARD_H
#define QZ_TEST_GUARD_H

#include <string>
#include <vector>

class TestGuard {
public:
    // Sets the guard up with its files under `folder`. Returns "" when it
    // is in place, else why not (not root, no mount namespace).
    std::string arm(const std::string& folder);
    // What the test did that it must not: "ran <tool> <args>" and
    // "wrote <path>" lines. Forgets them, so each is reported once.
    std::vector<std::string> findings();
    // Leaves the namespace and drops the guard's mounts.
    void disarm();
    bool armed() const { return armed_; }

private:
    std::string folder_;
    int savedNamespace_ = -1;
    bool armed_ = false;
};

#endif
