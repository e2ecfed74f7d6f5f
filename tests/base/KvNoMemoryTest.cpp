// What the growing types do when there is no memory for their arrays. Each case runs in a child
// process that may not use more than a few gigabytes and asks for more.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "base/DList.h"
#include "base/KvSimpleVector.h"

namespace {

constexpr rlim_t kGigabyte = rlim_t{1} << 30;

enum Outcome { kHeld, kBroken, kNotLimited };

bool isLimited() {
    const rlimit limit{4 * kGigabyte, 4 * kGigabyte};
    void* probe = setrlimit(RLIMIT_AS, &limit) == 0 ? malloc(8 * kGigabyte) : nullptr;
    const bool limited = probe == nullptr;
    free(probe);
    return limited;
}

// Whether `holds` is true in a child without memory; a platform that does not limit it is told.
Outcome inAChildWithoutMemory(bool (*holds)()) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(!isLimited() ? kNotLimited : holds() ? kHeld : kBroken);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return kBroken;
    }
    return static_cast<Outcome>(WEXITSTATUS(status));
}

bool pointerListHolds() {
    DList list;
    int thing = 0;
    list.Add(&thing);
    void** items = list.items;
    list.count = list.capacity = INT32_MAX - 8;  // 16 GiB with eight slots more
    const bool refused = list.Add(&thing) == -1;
    const bool same = list.items == items && list.items[0] == &thing &&
                      list.count == INT32_MAX - 8 && list.capacity == INT32_MAX - 8;
    list.count = 1;
    return refused && same;
}

bool stringListHolds() {
    KvSimpleStringVector list(INT_MAX, 4);
    list.push_back("first");  // 20 GiB
    return list.empty();
}

void expectHeld(Outcome outcome) {
    if (outcome == kNotLimited) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    EXPECT_EQ(outcome, kHeld);
}

TEST(NoMemory, APointerListStaysAsItWas) {
    expectHeld(inAChildWithoutMemory(pointerListHolds));
}

TEST(NoMemory, AStringListTakesNothing) {
    expectHeld(inAChildWithoutMemory(stringListHolds));
}

}  // namespace
