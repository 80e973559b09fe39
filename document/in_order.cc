#include "in_order.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

namespace gcuschema::document::internal {

int ThreadCount(int threads) {
  // More threads than cores gain nothing and hold more chunks at once.
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  return threads > 0 ? std::min(threads, cores) : cores;
}

void MakeInOrder(int count, int threads, int chunk,
                 const std::function<void(int, int, int, std::string*)>& make,
                 const std::function<void(const std::string&)>& emit) {
  threads = std::max(1, threads);
  chunk = std::max(1, chunk);
  std::vector<std::string> texts(static_cast<std::size_t>(threads));
  for (int begin = 0; begin < count;) {
    std::vector<std::pair<int, int>> round;
    for (int t = 0; t < threads && begin < count; ++t) {
      const int end = count - begin > chunk ? begin + chunk : count;
      round.emplace_back(begin, end);
      begin = end;
    }
    std::vector<std::exception_ptr> failed(round.size());
    auto run = [&](std::size_t t) {
      try {
        texts[t].clear();
        make(static_cast<int>(t), round[t].first, round[t].second, &texts[t]);
      } catch (...) {
        failed[t] = std::current_exception();
      }
    };
    std::vector<std::thread> helpers;
    for (std::size_t t = 1; t < round.size(); ++t) helpers.emplace_back(run, t);
    run(0);
    for (std::thread& helper : helpers) helper.join();
    for (std::size_t t = 0; t < round.size(); ++t) {
      if (failed[t]) std::rethrow_exception(failed[t]);
      emit(texts[t]);
    }
  }
}

}  // namespace gcuschema::document::internal
