// A fresh scratch folder for the running test. Tests run in parallel processes, so every test
// gets a folder of its own, named after it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace tn::test {

/// `<TN_TEST_TMP or the system's temporary folder>/<suite>.<test>`, created, and emptied the
/// first time a test asks for it.
inline std::filesystem::path ScratchFolder() {
    const char* base = std::getenv("TN_TEST_TMP");
    const std::filesystem::path root = base != nullptr && *base != '\0'
                                           ? std::filesystem::path(base)
                                           : std::filesystem::temp_directory_path() / "tn-tests";
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    const std::string name =
        info != nullptr ? std::string(info->test_suite_name()) + "." + info->name() : "shared";
    const std::filesystem::path folder = root / name;
    static std::filesystem::path emptied;
    if (emptied != folder) {
        std::filesystem::remove_all(folder);
        emptied = folder;
    }
    std::filesystem::create_directories(folder);
    return folder;
}

}  // namespace tn::test
