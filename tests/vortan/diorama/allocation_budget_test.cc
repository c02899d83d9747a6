// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "vortan/diorama/allocation_budget.h"

namespace {

using vortan::AllocationBudget;

TEST(AllocationBudget, HasNoLimitAtFirst) {
  AllocationBudget budget;
  budget.Charge(AllocationBudget::kUnlimited, AllocationBudget::kUnlimited);
  EXPECT_EQ(budget.bytes(), AllocationBudget::kUnlimited);
}

TEST(AllocationBudget, GivesOutExactlyWhatItHas) {
  AllocationBudget budget;
  budget.set_bytes(24);
  budget.Charge(3, 8);
  EXPECT_EQ(budget.bytes(), 0u);
  EXPECT_THROW(budget.Charge(1, 1), std::bad_alloc);
}

TEST(AllocationBudget, StaysAsItIsWhenThereIsNotEnough) {
  AllocationBudget budget;
  budget.set_bytes(23);
  EXPECT_THROW(budget.Charge(3, 8), std::bad_alloc);
  EXPECT_EQ(budget.bytes(), 23u);
}

TEST(AllocationBudget, IsNotFooledByAProductThatWrapsAround) {
  AllocationBudget budget;
  budget.set_bytes(1000);
  EXPECT_THROW(budget.Charge(AllocationBudget::kUnlimited / 8 + 2, 8), std::bad_alloc);
}

}  // namespace
