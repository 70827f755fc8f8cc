// The simulated operator: scripted answers by kind and in order, delays, and
// stephost's person at a terminal answering in the script's place.
#include "host/Operator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <mutex>
#include <thread>

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

// One question at a time on lines of its own, each answered by its own line:
// an answer the window does not take is asked for again, Enter is an empty
// answer, and a question closed while it waits takes no line, which the next
// question gets.
TEST(Operator, AtTheTerminalEachQuestionGetsItsOwnLinesAndItsOwnAnswer) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const auto type = [&](const std::string& text) {
        ASSERT_EQ(write(ends[1], text.data(), text.size()), ssize_t(text.size()));
    };
    std::string shown;
    std::mutex shownMutex;
    stephost::TerminalOperator terminal(ends[0], [&](const std::string& text) {
        std::lock_guard<std::mutex> lock(shownMutex);
        shown += text;
    });
    host::Operator& person = host::Operator::current();
    person.script({{"confirm", L"scripted", 0, 1}});
    person.setAnswerer(&terminal);

    host::OperatorQuestion confirm = host::OperatorQuestion::confirmation(L"Start the pump?", 0x4001);
    confirm.step = 3;
    type("maybe\r\nYes\n\n");
    std::wstring reply;
    ASSERT_TRUE(person.answer(confirm, reply));
    EXPECT_EQ(reply, L"Yes");
    host::OperatorQuestion batch = host::OperatorQuestion::keyboard(L"Batch number", L"0", 0x8000003);
    batch.step = 4;
    ASSERT_TRUE(person.answer(batch, reply));
    EXPECT_EQ(reply, L"") << "Enter";

    host::OperatorQuestion late = host::OperatorQuestion::confirmation(L"Stop?", 0x1001);
    late.step = 5;
    std::thread timeOut([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        late.close("the step timed out");
    });
    EXPECT_FALSE(person.answer(late, reply)) << "closed before any line came";
    timeOut.join();
    type("Ada\n");
    host::OperatorQuestion name = host::OperatorQuestion::keyboard(L"Name", L"", 0x8000006);
    ASSERT_TRUE(person.answer(name, reply));
    EXPECT_EQ(reply, L"Ada") << "the line typed after the close goes to the next question";
    close(ends[1]);
    EXPECT_FALSE(person.answer(name, reply)) << "the terminal closed";
    person.setAnswerer(nullptr);
    close(ends[0]);

    for (const char* line :
         {"? step 3 asks (confirm): Start the pump?\n  answer yes or no (or a response code); Enter: yes\n",
          "  \"maybe\" is not an answer here: yes or no (or a response code), please\n",
          "? step 4 asks (keyboard): Batch number [now \"0\"]\n  answer a whole number; Enter: keeps \"0\"\n",
          "? step 5's question (confirm) is closed: the step timed out\n"}) {
        EXPECT_NE(shown.find(line), std::string::npos) << line << "\n" << shown;
    }
    EXPECT_EQ(person.pending(), 1u) << "the script waits while the terminal answers";
    person.script({});
}

}  // namespace
