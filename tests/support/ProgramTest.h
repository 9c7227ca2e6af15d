// Tests that run the built programs as a user would: in a folder of their own, by their names.
#pragma once

#include "BuildPaths.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {

class ProgramTest : public testing::Test {
  protected:
    /// `beginning` of the command lines that Run completes: the program and what every run of it gets.
    /// A message of theirs has `messageLines` lines at most.
    explicit ProgramTest(std::string beginning, int messageLines = 1)
        : program(std::move(beginning)), messageLines_(messageLines) {}

    CommandResult Shell(const std::string& commandLine) const {
        return test::Run("cd '" + folder.Path().string() + "'; PATH='" VORELA_BIN_DIR "':$PATH; " +
                         commandLine);
    }
    CommandResult Run(const std::string& arguments) const { return Shell(program + " " + arguments); }
    void Succeeds(const std::string& arguments) const {
        const CommandResult result = Run(arguments);
        EXPECT_EQ(result.status, 0) << arguments << "\n" << result.err;
        EXPECT_EQ(result.err, "") << arguments;
    }
    /// A message on standard error that holds `words`, nothing on standard output.
    void Fails(const std::string& arguments, const std::string& words, int status = 1) const {
        const CommandResult result = Run(arguments);
        EXPECT_EQ(result.status, status) << arguments;
        EXPECT_THAT(std::count(result.err.begin(), result.err.end(), '\n'),
                    testing::AllOf(testing::Ge(1), testing::Le(messageLines_)))
            << result.err;
        EXPECT_THAT(result.err, testing::HasSubstr(words)) << arguments;
        EXPECT_EQ(result.out, "") << arguments;
    }
    bool Exists(const std::string& name) const { return std::filesystem::exists(folder.Path() / name); }
    std::string Bytes(const std::string& name) const { return ReadAll(folder.File(name)); }
    void Write(const std::string& name, const std::string& bytes) const {
        WriteAll(folder.File(name), bytes);
    }

    TempFolder folder;
    std::string program;

  private:
    int messageLines_;
};

}  // namespace vorela::test
