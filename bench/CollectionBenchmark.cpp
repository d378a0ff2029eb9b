//===- CollectionBenchmark.cpp - Lists and tables against the std library -===//
//
// ArrayList and HashTable side by side with std::deque and std::map doing the
// same work, so that the cost of the per-call semaphore operation of a locked
// list shows as a ratio. Every benchmark works on 10,000 items or keys per
// iteration; items_per_second is the figure to compare.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <deque>
#include <map>
#include <string>
#include <vector>

using Vemlo::Data::Object;
using Vemlo::Data::Collection::ArrayList;
using Vemlo::Data::Collection::HashTable;

namespace {

constexpr int kItems = 10000;

// One object stored many times; the lists do not own it.
Object g_item;

const std::vector<std::string>& keys() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> out;
        char buffer[32];
        for (int i = 0; i < kItems; ++i) {
            std::snprintf(buffer, sizeof buffer, "key.%05d", (i * 7919) % kItems);
            out.push_back(buffer);
        }
        return out;
    }();
    return all;
}

void BM_ArrayListAdd(benchmark::State& state) {
    ArrayList list(false, state.range(0) != 0);
    for (auto _ : state) {
        for (int i = 0; i < kItems; ++i)
            list.Add(&g_item);
        benchmark::DoNotOptimize(list.Count());
        list.Clear();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_ArrayListAdd)->ArgName("locked")->Arg(0)->Arg(1);

void BM_DequeAdd(benchmark::State& state) {
    std::deque<Object*> list;
    for (auto _ : state) {
        for (int i = 0; i < kItems; ++i)
            list.push_back(&g_item);
        benchmark::DoNotOptimize(list.size());
        list.clear();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_DequeAdd);

void BM_ArrayListAt(benchmark::State& state) {
    ArrayList list(false, state.range(0) != 0);
    for (int i = 0; i < kItems; ++i)
        list.Add(&g_item);
    for (auto _ : state) {
        for (int i = 0; i < kItems; ++i)
            benchmark::DoNotOptimize(list.At(i));
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_ArrayListAt)->ArgName("locked")->Arg(0)->Arg(1);

void BM_DequeAt(benchmark::State& state) {
    std::deque<Object*> list(kItems, &g_item);
    for (auto _ : state) {
        for (int i = 0; i < kItems; ++i) {
            // The same bounds test that At makes.
            Object* item = (i >= 0 && static_cast<size_t>(i) < list.size()) ? list[i] : nullptr;
            benchmark::DoNotOptimize(item);
        }
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_DequeAt);

// A table of 10,000 text values built and destroyed per iteration.
void BM_HashTableAddObj(benchmark::State& state) {
    const auto& all = keys();
    for (auto _ : state) {
        HashTable table;
        for (const std::string& key : all)
            table.AddObj(key.c_str(), "value");
        benchmark::DoNotOptimize(table.getCount());
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_HashTableAddObj);

// The same with a std::map of texts plus a std::deque for the insertion order
// (what HashTable keeps), and with a bare std::map.
void BM_MapAndDequeAdd(benchmark::State& state) {
    const auto& all = keys();
    for (auto _ : state) {
        std::map<std::string, std::string*> map;
        std::deque<std::string*> order;
        for (const std::string& key : all) {
            std::string*& slot = map[key.c_str()];
            if (!slot) {
                slot = new std::string("value");
                order.push_back(slot);
            } else {
                *slot = "value";
            }
        }
        benchmark::DoNotOptimize(order.size());
        for (std::string* value : order)
            delete value;
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_MapAndDequeAdd);

void BM_MapAdd(benchmark::State& state) {
    const auto& all = keys();
    for (auto _ : state) {
        std::map<std::string, std::string> map;
        for (const std::string& key : all)
            map[key.c_str()] = "value";
        benchmark::DoNotOptimize(map.size());
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_MapAdd);

void BM_HashTableGetValue(benchmark::State& state) {
    const auto& all = keys();
    HashTable table;
    for (const std::string& key : all)
        table.AddObj(key.c_str(), "value");
    for (auto _ : state) {
        for (const std::string& key : all)
            benchmark::DoNotOptimize(table.getValue(key.c_str()));
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_HashTableGetValue);

void BM_MapFind(benchmark::State& state) {
    const auto& all = keys();
    std::map<std::string, std::string> map;
    for (const std::string& key : all)
        map[key] = "value";
    for (auto _ : state) {
        for (const std::string& key : all) {
            // A text key, turned into a std::string as HashTable does.
            auto found = map.find(key.c_str());
            benchmark::DoNotOptimize(found == map.end() ? nullptr : &found->second);
        }
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_MapFind);

// Index access to a table: every read is a list call, so it pays the lock.
void BM_HashTableGetValueByIndex(benchmark::State& state) {
    const auto& all = keys();
    HashTable table;
    for (const std::string& key : all)
        table.AddObj(key.c_str(), "value");
    for (auto _ : state) {
        for (int i = 0; i < kItems; ++i)
            benchmark::DoNotOptimize(table.getValue(i));
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_HashTableGetValueByIndex);

} // namespace

BENCHMARK_MAIN();
