#include "run/Pipeline.h"

#include <algorithm>

#include "run/Stopwatch.h"

namespace tool {

void InputStage::SetTarget(const PictureFormat& newTarget, double newAspect) {
    target = newTarget;
    aspect = newAspect;
    reader->SetTarget(target, aspect);
}

long InputStage::First(const Pipeline& run) const {
    return std::max(run.first - static_cast<long>(around.before), 0L);
}

std::optional<long> InputStage::Last(const Pipeline& run) const {
    if (!run.last) {
        return std::nullopt;
    }
    const long reach = *run.last + static_cast<long>(around.after);
    return run.whole ? std::min(reach, *run.whole - 1) : reach;
}

SharedPicture InputStage::PictureAt(long picture, int field) {
    if (!period) {
        return reader->PictureAt(picture, field);
    }
    const long now = picture / *period;
    if (turn.value_or(now) != now) {
        reader = std::make_unique<Reader>(path, options);
        SetTarget(target, aspect);
        reader->StayAtEnd();
    }
    turn = now;
    return reader->PictureAt(picture % *period, field);
}

void Pipeline::Fail(std::exception_ptr what) {
    {
        const std::lock_guard guard(lock);
        if (!fault) {
            fault = std::move(what);
        }
    }
    for (const auto& input : inputs) {
        input->queue->Abandon();
    }
    finished->Abandon();
}

void Pipeline::ThrowFault() {
    const std::lock_guard guard(lock);
    if (fault) {
        std::rethrow_exception(fault);
    }
}

void ReadInput(const std::shared_ptr<Pipeline>& run, InputStage& input) {
    try {
        const double start = WallClock::Now();
        const std::optional<long> last = input.Last(*run);
        for (long picture = input.First(*run); !last || picture <= *last; ++picture) {
            if (run->endsWithInputs && input.beyond == Beyond::kNothing &&
                input.reader->EndsBefore(picture)) {
                break;
            }
            Fields fields;
            for (int field = 0; field < run->FieldsPerPicture(); ++field) {
                fields[static_cast<std::size_t>(field)] = input.PictureAt(picture, field);
            }
            input.busy = WallClock::Now() - start - input.queue->SecondsPushing();
            if (!input.queue->Push(std::move(fields))) {
                return;
            }
        }
        input.queue->Close();
    } catch (...) {
        run->Fail(std::current_exception());
    }
}

void WriteOutput(const std::shared_ptr<Pipeline>& run) {
    try {
        const double start = WallClock::Now();
        while (const auto pictures = run->finished->Pop()) {
            for (std::size_t i = 0; i < pictures->size(); ++i) {
                run->writers[i]->Write(*(*pictures)[i]);
            }
            if (run->sheet) {
                run->sheet->Look(*pictures->front());
            }
        }
        {
            const std::lock_guard guard(run->lock);
            if (run->fault) {
                return;
            }
        }
        for (const auto& writer : run->writers) {
            writer->Finish();
        }
        if (run->sheet) {
            run->sheet->Finish();
        }
        run->encoding = WallClock::Now() - start - run->finished->SecondsPopping();
    } catch (...) {
        run->Fail(std::current_exception());
    }
}

}  // namespace tool
