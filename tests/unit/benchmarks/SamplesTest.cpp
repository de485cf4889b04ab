#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "benchmarks/support/Samples.h"

namespace bench {
namespace {

TEST(Samples, TheMedianIsTheOneInTheMiddleOrBetweenTheTwo) {
  EXPECT_EQ(Samples({5, 1, 3}).median(), 3);
  EXPECT_EQ(Samples({4, 1, 3, 2}).median(), 2.5);
}

TEST(Samples, LeastAndGreatestDoNotDependOnTheOrder) {
  const Samples samples({2, 9, 0.5, 4});
  EXPECT_EQ(samples.least(), 0.5);
  EXPECT_EQ(samples.greatest(), 9);
}

TEST(Samples, NothingMeasuredHasNoMedian) {
  EXPECT_THROW(Samples().median(), std::out_of_range);
  EXPECT_EQ(inWords(Samples()), "–");
}

TEST(Samples, RatiosAreThoseOfTheSameRound) {
  const Samples ratios = Samples({2, 6, 10}).over(Samples({1, 2}));
  EXPECT_EQ(ratios.values(), (std::vector<double>{2, 3}));
}

TEST(Samples, NumbersHaveThreeDigits) {
  EXPECT_EQ(threeDigits(0.012345), "0.0123");
  EXPECT_EQ(threeDigits(4.814), "4.81");
  EXPECT_EQ(threeDigits(33.64), "33.6");
  EXPECT_EQ(threeDigits(123.4), "123");
  EXPECT_EQ(threeDigits(12345), "12300");
}

TEST(Samples, WholeNumbersStayWhole) {
  EXPECT_EQ(threeDigits(0), "0");
  EXPECT_EQ(threeDigits(10), "10");
  EXPECT_EQ(threeDigits(1.0000001), "1.00");
}

TEST(Samples, WhatIsNoNumberIsNotTold) {
  EXPECT_EQ(threeDigits(std::numeric_limits<double>::infinity()), "–");
}

TEST(Samples, AreToldWithTheirSpan) {
  EXPECT_EQ(inWords(Samples({4.7, 5.02, 4.81})), "4.81 (4.70–5.02)");
}

TEST(Samples, WithoutASpanAreOneNumber) {
  EXPECT_EQ(inWords(Samples({10, 10, 10})), "10");
  EXPECT_EQ(inWords(Samples({4.811, 4.812})), "4.81");
}

}  // namespace
}  // namespace bench
