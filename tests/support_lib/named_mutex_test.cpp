// SPDX-License-Identifier: Apache-2.0
#include "platform/named_mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/process.h"

namespace {

struct CloseMutex {
    void operator()(void* mutex) const { CloseHandle(mutex); }
};
using MutexHandle = std::unique_ptr<void, CloseMutex>;

MutexHandle Open(const std::string& name) {
    return MutexHandle(CreateMutexA(nullptr, FALSE, name.c_str()));
}

/// A name of this process and test, so that runs beside this one do not meet.
std::string OwnName(const std::string& text) {
    return "test." + std::to_string(GetCurrentProcessId()) + '.' + text;
}

/// What another thread gets, which gives the mutex back if it took it.
DWORD WaitInThread(HANDLE mutex, DWORD milliseconds) {
    DWORD result = WAIT_FAILED;
    std::thread([&] {
        result = WaitForSingleObject(mutex, milliseconds);
        if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) {
            ReleaseMutex(mutex);
        }
    }).join();
    return result;
}

/// Mutexes outlive their handles, so these tests clear away the memory objects of their own names.
class NamedMutex : public testing::Test {
protected:
    static void TearDownTestSuite() {
        const std::string own = '.' + OwnName("");
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", ignored)) {
            if (entry.path().filename().string().find(own) != std::string::npos) {
                std::filesystem::remove(entry.path(), ignored);
            }
        }
    }
};

TEST_F(NamedMutex, HandlesOfOneNameShareOneRecursiveMutex) {
    const MutexHandle first = Open(OwnName("shared"));
    const MutexHandle second = Open(OwnName("shared"));
    const MutexHandle other = Open(OwnName("other"));
    ASSERT_TRUE(first && second && other);
    EXPECT_EQ(WaitForSingleObject(first.get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitInThread(second.get(), 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitInThread(other.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(ReleaseMutex(first.get()), TRUE);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitInThread(second.get(), 50), WAIT_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
    EXPECT_EQ(ReleaseMutex(first.get()), TRUE);
    EXPECT_EQ(WaitInThread(second.get(), 1000), WAIT_OBJECT_0);
    EXPECT_EQ(ReleaseMutex(first.get()), FALSE);
    EXPECT_NE(GetLastError(), 0U);
}

TEST_F(NamedMutex, AnOwnerThatEndsAbandonsIt) {
    const MutexHandle mutex = Open(OwnName("abandoned"));
    ASSERT_TRUE(mutex);
    std::thread([] {
        // Closing the handle does not give the mutex back, the end of the thread does.
        const MutexHandle own = Open(OwnName("abandoned"));
        EXPECT_EQ(WaitForSingleObject(own.get(), INFINITE), WAIT_OBJECT_0);
    }).join();
    EXPECT_EQ(WaitForSingleObject(mutex.get(), INFINITE), WAIT_ABANDONED);
    EXPECT_EQ(ReleaseMutex(mutex.get()), TRUE);
    EXPECT_EQ(WaitInThread(mutex.get(), 1000), WAIT_OBJECT_0);
}

TEST_F(NamedMutex, AnyTextIsAName) {
    const std::string names[] = {
        "a/b", "a%2fb", "..", "Global\\\xC3\xA9", std::string(300, 'n'), std::string(301, 'n'), ""};
    std::vector<MutexHandle> handles;
    for (const std::string& name : names) {
        handles.push_back(Open(OwnName(name)));
        ASSERT_TRUE(handles.back()) << name;
        // Taken names do not stand for each other.
        EXPECT_EQ(WaitInThread(handles.back().get(), 0), WAIT_OBJECT_0) << name;
        EXPECT_EQ(WaitForSingleObject(handles.back().get(), 0), WAIT_OBJECT_0) << name;
    }
    for (const MutexHandle& handle : handles) {
        EXPECT_EQ(ReleaseMutex(handle.get()), TRUE);
    }
}

TEST_F(NamedMutex, InitialOwnerNullNameAndNullHandle) {
    const MutexHandle mutex(CreateMutexA(nullptr, TRUE, nullptr));
    ASSERT_TRUE(mutex);
    EXPECT_EQ(WaitInThread(mutex.get(), 0), WAIT_TIMEOUT);
    EXPECT_EQ(ReleaseMutex(mutex.get()), TRUE);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
    EXPECT_EQ(ReleaseMutex(nullptr), FALSE);
    EXPECT_EQ(CloseHandle(nullptr), FALSE);
}

} // namespace
