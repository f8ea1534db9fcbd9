// The settings store at different sizes: look-ups, changes and commits with 100, 1,000 and 10,000
// keys.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <memory>
#include <string>

#include "libnvram/store.h"

namespace {

std::string key_of(int64_t number) {
    return "setting_" + std::to_string(number);
}

// A filled store in a temporary folder.
class Filled {
  public:
    explicit Filled(int64_t keys) {
        if (!mkdtemp(folder_)) abort();
        const nvram::Places places = {.working = folder_ + std::string("/nvram"),
                                      .factory = folder_ + std::string("/default"),
                                      .flash = folder_ + std::string("/flash")};
        std::string text;
        for (int64_t i = 0; i < keys; i++)
            text += key_of(i) + "=192.168.1." + std::to_string(i) + "\n";
        store_ = std::make_unique<nvram::Store>(places);
        if (!store_->put_file(places.factory, text, true)) abort();
        if (!store_->restore_factory()) abort();
    }
    ~Filled() {
        store_.reset();
        if (system(("rm -rf " + std::string(folder_)).c_str()) != 0) abort();
    }
    Filled(const Filled&) = delete;
    Filled& operator=(const Filled&) = delete;

    nvram::Store& store() { return *store_; }

  private:
    char folder_[32] = "/tmp/store_bench.XXXXXX";
    std::unique_ptr<nvram::Store> store_;
};

void get(benchmark::State& state) {
    Filled filled(state.range(0));
    int64_t i = 0;
    while (state.KeepRunning())
        benchmark::DoNotOptimize(filled.store().working()->get(key_of(i++ % state.range(0))));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(get)->Arg(100)->Arg(1'000)->Arg(10'000);

// The cost of a process's first look-up, which reads only a part of the image.
void first_get(benchmark::State& state) {
    Filled filled(state.range(0));
    while (state.KeepRunning()) {
        nvram::Store fresh(filled.store().places());
        benchmark::DoNotOptimize(fresh.working_around("setting_1")->get("setting_1"));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(first_get)->Arg(100)->Arg(1'000)->Arg(10'000);

void set(benchmark::State& state) {
    Filled filled(state.range(0));
    int64_t i = 0;
    while (state.KeepRunning()) {
        const std::string value = std::to_string(i++);
        if (!filled.store().set({.key = "setting_1", .value = value}))
            state.SkipWithError("set failed");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(set)->Arg(100)->Arg(1'000)->Arg(10'000);

void commit(benchmark::State& state) {
    Filled filled(state.range(0));
    while (state.KeepRunning())
        if (!filled.store().commit()) state.SkipWithError("commit failed");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(commit)->Arg(100)->Arg(1'000)->Arg(10'000);

}  // namespace
