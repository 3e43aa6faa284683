// The synthetic hosting configuration the benchmark runs on: N websites as
// website creation writes their blocks, with the additions a shared-hosting
// server collects over time. Shared by the generator, which writes the file,
// and by the benchmark, which must know which site to work on.
#ifndef QZ_BENCH_SITE_MODEL_H
#define QZ_BENCH_SITE_MODEL_H

#include <cstdio>
#include <string>

namespace bench {

// What site number i carries. The mix is fixed so that every run of the
// generator writes the same bytes.
struct Site {
    explicit Site(long i) : index(i) {}
    long index;
    std::string domain() const { return "site" + std::to_string(index) + ".com"; }
    std::string root() const { return "/home/" + domain(); }
    bool stopped() const { return index % 10 == 7; }        // commented out line by line
    bool phpModule() const { return index % 4 == 1; }       // <IfModule mod_php5.c> handler block
    bool virtualDirectory() const { return index % 10 == 2; }  // Alias and a <Directory> section
    bool secureBlock() const { return index % 8 == 5; }     // a second block on port 443
    bool scriptAlias() const { return index % 6 == 3; }
};

// The site the benchmark works on: the last one near the end of the file
// that is running, has a virtual directory, no PHP block yet and one block.
inline Site targetSite(long sites) {
    for (long i = sites - 1; i > 0; --i) {
        const Site s(i);
        if (!s.stopped() && !s.phpModule() && s.virtualDirectory() && !s.secureBlock()) return s;
    }
    return Site(0);
}

// The virtual directory of a site that has one.
inline std::string virtualDirectoryPath(const Site& s) { return s.root() + "/www/html/shop"; }

}  // namespace bench

#endif
