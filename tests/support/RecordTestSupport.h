#pragma once

// Shared by the record suites: every indexed getter reports an index that is
// not below the count the same way.
#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

inline void ExpectIndexError(const std::function<void()>& get) {
    try {
        get();
        ADD_FAILURE() << "no exception";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), 0x21130001u);
        EXPECT_NE(std::string(e.what()).find("Src/Objects"), std::string::npos) << e.what();
    }
}
