// The simulated operator: scripted answers by kind and in order, delays, and
// stephost's person at a terminal answering in the script's place.
#include "host/Operator.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "stephost/TerminalOperator.h"

namespace {

TEST(Operator, AnswersFromTheScriptByKindInOrderAfterTheirDelays) {
    host::Operator& person = host::Operator::current();
    person.script({{"confirm", L"yes", 0, 1}, {"keyboard", L"4711", 30, 2}, {"confirm", L"no", 0, 3}});
    std::wstring reply;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(person.answer("keyboard", L"Batch number", reply));
    EXPECT_EQ(reply, L"4711");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30)) << "after its delay";
    ASSERT_TRUE(person.answer("confirm", L"Start?", reply));
    EXPECT_EQ(reply, L"yes");
    ASSERT_TRUE(person.answer("confirm", L"Again?", reply));
    EXPECT_EQ(reply, L"no");
    EXPECT_FALSE(person.answer("confirm", L"Once more?", reply)) << "the script is spent";
    EXPECT_FALSE(person.answer("file", L"Which file?", reply));
    EXPECT_EQ(person.pending(), 0u);
}

TEST(Operator, AtTheTerminalEachQuestionIsALine) {
    std::FILE* in = std::tmpfile();
    std::FILE* out = std::tmpfile();
    ASSERT_TRUE(in && out);
    std::fputs("yes\r\n/data/batch.csv\n", in);
    std::rewind(in);
    host::Operator& person = host::Operator::current();
    person.script({{"confirm", L"scripted", 0, 1}});
    stephost::TerminalOperator terminal(in, out);
    person.setAnswerer(&terminal);
    std::wstring reply;
    ASSERT_TRUE(person.answer("confirm", L"Start the pump?", reply));
    EXPECT_EQ(reply, L"yes");
    ASSERT_TRUE(person.answer("file", L"Save as", reply));
    EXPECT_EQ(reply, L"/data/batch.csv");
    EXPECT_FALSE(person.answer("keyboard", L"Name", reply)) << "the terminal closed";
    person.setAnswerer(nullptr);

    std::rewind(out);
    char shown[256] = {};
    std::fgets(shown, sizeof shown, out);
    EXPECT_EQ(std::string(shown).rfind("[confirm] Start the pump? > ", 0), 0u);
    EXPECT_EQ(person.pending(), 1u) << "the script waits while the terminal answers";
    person.script({});
    std::fclose(in);
    std::fclose(out);
}

}  // namespace
