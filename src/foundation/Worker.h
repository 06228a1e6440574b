#ifndef TESSELU_SRC_FOUNDATION_WORKER_H
#define TESSELU_SRC_FOUNDATION_WORKER_H

#include <TesselU/foundation/Event.h>
#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

// Threads that divide a picture into strips, for as long as the object that owns them lives. A front class
// has one `StripWorkers` with the job of its strips; what the jobs hold besides the filter it sets anew for
// each picture.

namespace Zan {

inline constexpr ULong32 kMostWorkers = 64;

/// How many workers there are when `asked` are asked for: 1 to 64.
constexpr ULong32 WorkersFor(ULong32 asked) noexcept {
    return asked == 0 ? 1 : asked > kMostWorkers ? kMostWorkers : asked;
}

struct Strip {
    ULong32 first = 0;
    ULong32 rows = 0;
};

/// The strip of worker `i` of `workers`: all have equally many of `rows` rows, and the last one what remains,
/// too.
constexpr Strip StripOf(ULong32 rows, ULong32 workers, ULong32 i) noexcept {
    const ULong32 each = rows / workers;
    return {i * each, i + 1 == workers ? rows - i * each : each};
}

/// A thread that sleeps until it is told to run its task.
class Worker {
public:
    using Task = void (*)(void* context) noexcept;

    /// The thread stays on processor `number`, where there is one.
    Worker(Task task, void* context, std::size_t number);
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Has the task run by the thread. Where no thread was to be had it runs at once.
    void Start() noexcept { Give(kRun); }
    /// Has the thread end.
    void Leave() noexcept { Give(kLeave); }
    /// Returns when what was given last is done.
    void Wait() noexcept { done.Wait(); }

private:
    enum Command : std::uint32_t { kRun = 0, kLeave = 1 };

    void Give(Command what) noexcept;
    void Sleep(std::size_t number) noexcept;

    const Task task;
    void* const context;
    TesselMT::Event start, done;
    Command command = kRun;
    std::thread thread;
};

/// Workers with a job each. `Job` has `Long32 Run() noexcept`.
template <class Job>
class StripWorkers {
public:
    /// `make()` makes the jobs.
    template <class Make>
    StripWorkers(ULong32 count, Make make) {
        records.reserve(count);
        for (ULong32 i = 0; i < count; ++i) {
            records.push_back(std::make_unique<Record>(make(), i));
        }
    }

    ~StripWorkers() {
        for (const auto& record : records) {
            record->worker.Leave();
        }
        for (const auto& record : records) {
            record->worker.Wait();
        }
    }

    StripWorkers(const StripWorkers&) = delete;
    StripWorkers& operator=(const StripWorkers&) = delete;

    ULong32 Count() const noexcept { return static_cast<ULong32>(records.size()); }
    Job& operator[](ULong32 i) noexcept { return records[i]->job; }
    const Job& operator[](ULong32 i) const noexcept { return records[i]->job; }

    /// Runs all jobs side by side, and returns the status of the first when all are done.
    Long32 RunAll() noexcept {
        for (const auto& record : records) {
            record->worker.Start();
        }
        for (const auto& record : records) {
            record->worker.Wait();
        }
        return records.front()->status;
    }

private:
    struct Record {
        Record(Job&& made, std::size_t number) : job(std::move(made)), worker(&Run, this, number) {}

        static void Run(void* context) noexcept {
            Record& record = *static_cast<Record*>(context);
            record.status = record.job.Run();
        }

        Job job;
        Long32 status = 0;
        Worker worker;
    };

    std::vector<std::unique_ptr<Record>> records;
};

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_WORKER_H
