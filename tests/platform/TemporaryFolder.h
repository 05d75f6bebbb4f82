// A folder that exists for one test.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TemporaryFolder : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "platformXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string At(const std::string& name) const { return folder_ + "/" + name; }

    std::string Put(const std::string& name, const std::string& contents, mode_t mode = 0644) {
        std::ofstream(At(name), std::ios::binary) << contents;
        EXPECT_EQ(chmod(At(name).c_str(), mode), 0);
        return At(name);
    }

    [[nodiscard]] std::string ContentsOf(const std::string& name) const {
        std::ifstream file(At(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string folder_;
};
