#include <gtest/gtest.h>

#include "KROColorFunctions.h"

using namespace KROCOLOR;

TEST(ReturnCodes, Placeholder) { EXPECT_STREQ(queryKROReturn(kKROSuccess), "Success."); }
