#include <gtest/gtest.h>

#include <iostream>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::UnitTest::GetInstance()->total_test_count() == 0) {
        std::cerr << "This program holds no test.\n";
        return 1;
    }
    return RUN_ALL_TESTS();
}
