// The record of a mail, to its state file and back. The argument counts the recipients, or the
// strings where the row is named after them. The files lie in a directory of the benchmark's own
// under TMPDIR; nothing is synced.

#include "queue/incoming_stream.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "tests/support/temp_dir.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
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

// Reads a state file of so many recipients, and of so many strings behind their addresses.
void readMail(benchmark::State& state, long recipients, long strings) {
    Mail mail(recipients);
    for (long i = 0; mail.get() != nullptr && i < strings; ++i) {
        mail.get()->addString(("string " + std::to_string(i)).c_str());
    }
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

void readState(benchmark::State& state) {
    readMail(state, state.range(0), 0);
}

void readStrings(benchmark::State& state) {
    readMail(state, 1, state.range(0));
}

// A state file of version 5 with the argument's number of recipients, and half as many strings
// again behind their addresses: message information, filter actions and failure texts.
std::string oldState(std::uint32_t rcpts) {
    std::string table = std::string("from@example.org\0<>\0<>\0", 23);
    std::string records;
    const auto put = [](std::string& at, std::size_t offset, std::uint32_t value) {
        std::memcpy(at.data() + offset, &value, sizeof value);
    };
    std::string others;
    std::uint32_t next = 3; // the link of the string to come
    char text[64];
    for (std::uint32_t r = 0; r < rcpts; ++r) {
        table += "user" + std::to_string(r) + "@example.org" + '\0';
        std::string record(36, '\0');
        record[0] = 1;
        if (r % 2 == 0) {
            std::snprintf(text, sizeof text, "0000000:00:Folder %u", r);
            put(record, r % 4 == 0 ? 24 : 20, next++);
            others += text;
            others += '\0';
        }
        records += record;
    }
    std::string block(64, '\0');
    block[0] = 1;
    put(block, 16, 1);
    put(block, 40, rcpts);
    put(block, 44, rcpts);
    return std::string("HMIQF$\5\0\0\0", 10) + block + std::string(16 * 20, '\0') + records +
           table + others;
}

// Reads and upgrades a mail of an older format.
void readOldState(benchmark::State& state) {
    const support::TempDir dir;
    MailQueue queue;
    static_cast<void>(queue.setDirectory((dir / "queue").c_str(), 1));
    support::writeFile(dir / "queue/00/S0042",
                       oldState(static_cast<std::uint32_t>(state.range(0))));
    for (auto _ : state) {
        bool badFile = false;
        MailItem* const item = queue.bindMail(0x42, 0, false, badFile);
        if (item == nullptr || queue.rawUnbindMail(item, true) == -1) {
            state.SkipWithError("the old state file cannot be read");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(writeNewState)->Arg(1)->Arg(1024)->Iterations(500);
BENCHMARK(writeChangedState)->RangeMultiplier(8)->Range(1, 4096)->Complexity(benchmark::oN);
BENCHMARK(readState)->RangeMultiplier(8)->Range(1, 4096)->Arg(16384)->Arg(65535)->Complexity(
    benchmark::oN);
BENCHMARK(readStrings)->Arg(1000)->Arg(10000)->Arg(100000)->Complexity(benchmark::oN);
BENCHMARK(readOldState)->Arg(64)->Arg(1024)->Arg(16384)->Arg(65535)->Complexity(benchmark::oN);

} // namespace
