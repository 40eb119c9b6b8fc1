// Runs GeographicLib's GeodSolve (Debian package geographiclib-tools) on a batch of inverse
// problems; the tests use it as an independent oracle.
#pragma once

#include "support/RunTool.h"
#include "support/Scratch.h"

#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace geotest {

struct GeodQuery {
    std::string lat1, lon1, lat2, lon2;  // decimal degrees, exactly as the integers say
};

struct GeodAnswer {
    double azi1 = 0, azi2 = 0, s12 = 0;  // degrees, degrees, metres
};

inline bool GeodSolveAvailable() {
#ifdef _WIN32
    return false;  // the batch runs through a POSIX shell
#else
    return std::system("command -v GeodSolve >/dev/null 2>&1") == 0;
#endif
}

/// Coordinate units as an exact decimal text of degrees.
inline std::string DegreesText(int units) {
    const long long v = units;
    const unsigned long long m = static_cast<unsigned long long>(v < 0 ? -v : v);
    char text[32];
    std::snprintf(text, sizeof text, "%s%llu.%07llu", v < 0 ? "-" : "", m / 10000000ULL,
                  m % 10000000ULL);
    return text;
}

inline GeodQuery QueryOf(const tn::TSKoordinate& a, const tn::TSKoordinate& b) {
    return {DegreesText(a.IntBreite()), DegreesText(a.IntLaenge()), DegreesText(b.IntBreite()),
            DegreesText(b.IntLaenge())};
}

inline std::filesystem::path ScratchDirectory() {
    return tn::test::ScratchFolder();
}

/// Answers in the order of the queries; empty when the tool failed. `options` are extra
/// GeodSolve options, e.g. "-e 6371000 0" for a sphere.
inline std::vector<GeodAnswer> RunGeodSolve(const std::vector<GeodQuery>& queries,
                                            const std::string& options = "") {
    const auto input = ScratchDirectory() / "geodsolve_input.txt";
    {
        std::ofstream out(input);
        for (const auto& q : queries) {
            out << q.lat1 << ' ' << q.lon1 << ' ' << q.lat2 << ' ' << q.lon2 << '\n';
        }
    }
    const std::string command = "GeodSolve -i -p 9 " + options + " < '" + input.string() + "'";
    std::vector<GeodAnswer> answers;
    std::istringstream lines(tn::test::RunCommand(command).output);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        GeodAnswer a;
        if (fields >> a.azi1 >> a.azi2 >> a.s12) answers.push_back(a);
    }
    return answers;
}

}  // namespace geotest
