// SPDX-License-Identifier: Apache-2.0
#include "apps/service/answer_cache.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace pelorin {
namespace {

std::shared_ptr<const FinishedAnswer> MakeAnswer(std::size_t size) {
  auto answer = std::make_shared<FinishedAnswer>();
  answer->body.assign(size, 'x');
  return answer;
}

TEST(AnswerCache, FindsWhatItKeeps) {
  AnswerCache cache(100);
  const auto answer = MakeAnswer(10);
  cache.Keep("a", answer);
  EXPECT_EQ(cache.Find("a"), answer);
  EXPECT_EQ(cache.Find("b"), nullptr);
  EXPECT_EQ(cache.bytes(), 11u);
}

TEST(AnswerCache, LetsGoOfWhatWasUnusedForLongest) {
  AnswerCache cache(33);
  cache.Keep("a", MakeAnswer(10));
  cache.Keep("b", MakeAnswer(10));
  cache.Keep("c", MakeAnswer(10));
  EXPECT_NE(cache.Find("a"), nullptr);
  cache.Keep("d", MakeAnswer(10));
  EXPECT_EQ(cache.Find("b"), nullptr);
  EXPECT_NE(cache.Find("a"), nullptr);
  EXPECT_NE(cache.Find("c"), nullptr);
  EXPECT_NE(cache.Find("d"), nullptr);
  EXPECT_EQ(cache.bytes(), 33u);
}

TEST(AnswerCache, KeepsTheFirstAnswerForAKey) {
  AnswerCache cache(100);
  const auto first = MakeAnswer(10);
  cache.Keep("a", first);
  cache.Keep("a", MakeAnswer(20));
  EXPECT_EQ(cache.Find("a"), first);
  EXPECT_EQ(cache.bytes(), 11u);
}

TEST(AnswerCache, KeepsNothingThatIsLargerThanItself) {
  AnswerCache cache(20);
  cache.Keep("a", MakeAnswer(10));
  cache.Keep("b", MakeAnswer(20));
  EXPECT_EQ(cache.Find("b"), nullptr);
  EXPECT_NE(cache.Find("a"), nullptr);
}

TEST(AnswerCache, OfNoBytesKeepsNothing) {
  AnswerCache cache(0);
  cache.Keep("", MakeAnswer(1));
  EXPECT_EQ(cache.Find(""), nullptr);
  EXPECT_EQ(cache.bytes(), 0u);
}

TEST(AnswerCache, StaysWithinItsBytesUnderManyThreads) {
  AnswerCache cache(200);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&cache, t] {
      for (int i = 0; i < 500; ++i) {
        const std::string key = std::to_string((i * 7 + t) % 40);
        if (cache.Find(key) == nullptr)
          cache.Keep(key, MakeAnswer(9));
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_LE(cache.bytes(), 200u);
  EXPECT_GT(cache.bytes(), 150u);
}

}  // namespace
}  // namespace pelorin
