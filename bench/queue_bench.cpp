// The record of a mail, to its state file and back. The argument counts the recipients. The files
// lie in a directory of the benchmark's own under TMPDIR; nothing is synced.

#include "queue/incoming_stream.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "tests/support/temp_dir.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

// A queue with one mail whose envelope is complete; null where it could not be made.
class Mail {
public:
    explicit Mail(long recipientCount) : recipients(recipientCount) {
        static_cast<void>(queue.setDirectory((dir / "queue").c_str(), 1));
        renew();
    }
    Mail(const Mail&) = delete;
    Mail& operator=(const Mail&) = delete;
    ~Mail() { remove(); }

    // Takes another mail of the same kind, which was never saved.
    void renew() {
        remove();
        item = queue.newMail();
        if (item == nullptr || item->setRPath("from@example.org", nullptr, nullptr) != 0) {
            return;
        }
        for (long i = 0; i < recipients; ++i) {
            item->addRCPT(("user" + std::to_string(i) + "@example.org").c_str());
        }
        stream = item->endRCPT(&queue);
    }

    MailItem* get() const { return stream != nullptr ? item : nullptr; }

private:
    void remove() {
        Stream::release(stream);
        stream = nullptr;
        if (item != nullptr) {
            queue.removeMail(item);
        }
    }

    support::TempDir dir;
    MailQueue queue;
    const long recipients;
    MailItem* item = nullptr;
    IncomingStream* stream = nullptr;
};

void writeNewState(benchmark::State& state) {
    Mail mail(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        mail.renew();
        state.ResumeTiming();
        if (mail.get() == nullptr || mail.get()->saveToFile(nullptr) != 0) {
            state.SkipWithError("no mail could be saved");
            break;
        }
    }
}

// What is in the file stays there: only the record is written.
void writeChangedState(benchmark::State& state) {
    Mail mail(state.range(0));
    for (auto _ : state) {
        if (mail.get() == nullptr || mail.get()->saveToFile(nullptr) != 0) {
            state.SkipWithError("no mail could be saved");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}

void readState(benchmark::State& state) {
    Mail mail(state.range(0));
    if (mail.get() == nullptr || mail.get()->saveToFile(nullptr) != 0) {
        state.SkipWithError("no mail could be made");
        return;
    }
    for (auto _ : state) {
        if (mail.get()->loadFromFile() != 0) {
            state.SkipWithError("the state file cannot be read");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(writeNewState)->Arg(1)->Arg(1024)->Iterations(500);
BENCHMARK(writeChangedState)->RangeMultiplier(8)->Range(1, 4096)->Complexity(benchmark::oN);
BENCHMARK(readState)->RangeMultiplier(8)->Range(1, 4096)->Complexity(benchmark::oN);

} // namespace
