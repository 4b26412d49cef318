// How fast a large event set loads and saves: 100,000 events of mixed kinds
// and handlers, read with EventSet's reader and written back with its
// atomic save, next to libical parsing the same events written as an
// iCalendar file. Loading also measures the resident memory each event
// costs. A summary after the run checks the targets: load and save within
// 100 ms each, at most 1 KB resident per event, and loading at least five
// times as fast as libical's parse.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <libical/ical.h>

#include "../tests/unit/EventSetBytes.h"
#include "calvorin/Locker.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"
#include "handlers/HandlerRegistry.h"

namespace {

constexpr int kEvents = 100000;

// The files the benchmarks read, written once per run into a private folder.
struct Files {
    std::string folder;
    std::string set;
    std::string ics;
    size_t setBytes = 0;
    size_t icsBytes = 0;
};

// Per-run results for the summary.
struct Results {
    std::vector<double> loadSeconds;
    std::vector<double> saveSeconds;
    std::vector<double> icalSeconds;
    double bytesPerEvent = -1;
    bool savedSameBytes = false;
} gResults;

std::string IcalTime(int32_t t)
{
    time_t value = t;
    struct tm cal;
    gmtime_r(&value, &cal);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &cal);
    return text;
}

// The RRULE that says what the event's period says (empty for "Once").
std::string Rule(const EventRecord& e)
{
    static const char* const days[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    switch (e.periodType) {
        case Annually: return "FREQ=YEARLY";
        case Monthly: return "FREQ=MONTHLY;BYMONTHDAY=" + std::to_string(e.dayOfMonth);
        case Weekly: return std::string("FREQ=WEEKLY;BYDAY=") + days[e.dayOfWeek];
        case Daily: return "FREQ=DAILY";
        case Weekdays: return "FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR";
        case MultiWeekly: return "FREQ=WEEKLY;INTERVAL=" + std::to_string(e.multiple);
        case SubDaily: return "FREQ=HOURLY;INTERVAL=" + std::to_string(e.multiple);
        default: return "";
    }
}

// One event of a realistic mix: mostly message reminders of every repeat
// kind, some commands, some silent ones, some with comments and nagging.
EventRecord MakeRecord(int i, std::vector<uint8_t>* block, std::string* handlerText)
{
    static const int32_t periods[] = {Once, Annually, Monthly, Weekly, Daily, Weekdays,
                                      MultiWeekly, SubDaily};
    EventRecord e;
    e.name = "Reminder number " + std::to_string(i);
    e.periodType = periods[i % 8];
    e.timeType = e.periodType == Weekly || e.periodType == MultiWeekly ? ByDayOfWeek
                 : e.periodType == Monthly                            ? ByDayOfMonth
                                                                      : ByDate;
    e.multiple = 2 + i % 3;
    e.selectEventTime = 1700000000 + i * 617;
    e.nextEventTime = e.selectEventTime + 3600;
    e.actualEventTime = e.selectEventTime;
    e.dayOfMonth = int8_t(1 + i % 28);
    e.dayOfWeek = int8_t(i % 7);
    e.month = int8_t(i % 12);
    e.applyPrewarn = i % 4 == 0;
    e.applyNag = i % 6 == 0;
    e.comment = i % 3 == 0 ? "Bring the papers for case " + std::to_string(i) : "";
    e.prewarnMessage = e.applyPrewarn ? "Coming up" : "";
    e.nagMessage = "";
    block->clear();
    handlerText->clear();
    if (i % 7 == 0) {
        e.handlerName = "Do nothing";
        block->assign(4, 0);
    } else if (i % 5 == 0) {
        e.handlerName = "Command";
        *handlerText = "notify-send 'Reminder " + std::to_string(i) + "'";
        SetBytes record;
        AppendVerifiedText(record, 0, handlerText->c_str());
        block->assign(record.Bytes().begin() + 1, record.Bytes().end());
    } else {
        e.handlerName = "Message";
        *handlerText = "Time for reminder " + std::to_string(i);
        SetBytes record;
        AppendMessageBlock(record, *handlerText);
        block->assign(record.Bytes().begin() + 1, record.Bytes().end());
    }
    return e;
}

bool WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), std::streamsize(bytes.size()));
    return bool(out);
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

const Files& TheFiles()
{
    static Files files = [] {
        Files f;
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp != nullptr && tmp[0] ? tmp : "/tmp") +
                              "/calvorin-set-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror("calvorin_bench: no folder for the event set files");
            std::exit(1);
        }
        f.folder = pattern;
        f.set = f.folder + "/Large.calvorin";
        f.ics = f.folder + "/Large.ics";

        SetBytes set;
        AppendHeader(set, "1.2", kEvents);
        std::string ics = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Calvorin//bench//EN\r\n";
        std::vector<uint8_t> block;
        std::string handlerText;
        for (int i = 0; i < kEvents; ++i) {
            EventRecord e = MakeRecord(i, &block, &handlerText);
            AppendEvent(set, e);
            set.Raw(block);

            ics += "BEGIN:VEVENT\r\nUID:reminder-" + std::to_string(i) + "@calvorin\r\n";
            ics += "DTSTAMP:" + IcalTime(1700000000) + "\r\n";
            ics += "DTSTART:" + IcalTime(e.selectEventTime) + "\r\n";
            ics += "SUMMARY:" + e.name + "\r\n";
            if (!e.comment.empty())
                ics += "DESCRIPTION:" + e.comment + "\r\n";
            std::string rule = Rule(e);
            if (!rule.empty())
                ics += "RRULE:" + rule + "\r\n";
            if (!handlerText.empty())
                ics += "X-CALVORIN-" + std::string(e.handlerName == "Command" ? "COMMAND" : "MESSAGE") +
                       ":" + handlerText + "\r\n";
            if (e.applyPrewarn) {
                ics += "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:" + e.prewarnMessage +
                       "\r\nTRIGGER:-P1D\r\nEND:VALARM\r\n";
            }
            ics += "END:VEVENT\r\n";
        }
        ics += "END:VCALENDAR\r\n";
        AppendLayout(set);
        std::string setBytes(set.Bytes().begin(), set.Bytes().end());
        if (!WriteFile(f.set, setBytes) || !WriteFile(f.ics, ics)) {
            std::perror("calvorin_bench: writing the benchmark files");
            std::exit(1);
        }
        f.setBytes = setBytes.size();
        f.icsBytes = ics.size();
        std::atexit([] {
            const Files& done = TheFiles();
            std::remove(done.set.c_str());
            std::remove(done.ics.c_str());
            std::remove((done.folder + "/Saved.calvorin").c_str());
            rmdir(done.folder.c_str());
        });
        return f;
    }();
    return files;
}

EventSet* Load(const std::string& path)
{
    if (NumberOfEventHandlers == 0)
        LoadBuiltInHandlers();
    ConstructorResult result = kReadComplete;
    bool ok = true;
    auto* set = new EventSet(path.c_str(), false, &result, &ok);
    if (result != kReadComplete || !ok || set->CountEvents() != kEvents) {
        std::fprintf(stderr, "calvorin_bench: the benchmark set did not read (result %d)\n", int(result));
        std::exit(1);
    }
    return set;
}

void Destroy(EventSet* set)
{
    Autolock setsLock(OpenSets::Protect);
    set->Lock();
    delete set;
}

long ResidentBytes()
{
    long pages = 0, resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(statm);
    }
    return resident * sysconf(_SC_PAGESIZE);
}

double Seconds(std::chrono::steady_clock::time_point from)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - from).count();
}

void BM_EventSetLoad(benchmark::State& state)
{
    const Files& files = TheFiles();
    bool measuredMemory = false;
    for (auto _ : state) {
        // Memory is measured on the first load, from a heap with its free
        // pages handed back, so the growth is what the set really holds.
        long before = 0;
        if (!measuredMemory) {
            state.PauseTiming();
            malloc_trim(0);
            before = ResidentBytes();
            state.ResumeTiming();
        }
        auto start = std::chrono::steady_clock::now();
        EventSet* set = Load(files.set);
        gResults.loadSeconds.push_back(Seconds(start));
        state.PauseTiming();
        if (!measuredMemory) {
            gResults.bytesPerEvent = double(ResidentBytes() - before) / kEvents;
            measuredMemory = true;
        }
        Destroy(set);
        state.ResumeTiming();
    }
    state.counters["events"] = kEvents;
    state.counters["bytes_per_event"] = gResults.bytesPerEvent;
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files.setBytes));
}

void BM_EventSetSave(benchmark::State& state)
{
    const Files& files = TheFiles();
    EventSet* set = Load(files.set);
    const std::string saved = files.folder + "/Saved.calvorin";
    {
        Autolock lock(set);
        set->SetFileName(saved.c_str());
    }
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        bool ok;
        {
            Autolock lock(set);
            ok = set->SaveData();
        }
        gResults.saveSeconds.push_back(Seconds(start));
        if (!ok) {
            state.SkipWithError("saving the set failed");
            break;
        }
    }
    // What was written is exactly what was read.
    gResults.savedSameBytes = ReadFile(saved) == ReadFile(files.set);
    state.counters["events"] = kEvents;
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files.setBytes));
    Destroy(set);
}

void BM_EventSetIcsParse(benchmark::State& state)
{
    const Files& files = TheFiles();
    size_t components = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        std::string text = ReadFile(files.ics);
        icalcomponent* calendar = icalparser_parse_string(text.c_str());
        gResults.icalSeconds.push_back(Seconds(start));
        state.PauseTiming();
        if (calendar == nullptr) {
            state.SkipWithError("libical did not parse the calendar");
            break;
        }
        components = size_t(icalcomponent_count_components(calendar, ICAL_VEVENT_COMPONENT));
        icalcomponent_free(calendar);
        state.ResumeTiming();
    }
    state.counters["events"] = double(components);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files.icsBytes));
}

double Median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Printed when the program ends, after the other benchmarks' summary.
struct Summary {
    ~Summary()
    {
        double load = Median(gResults.loadSeconds);
        double save = Median(gResults.saveSeconds);
        double ical = Median(gResults.icalSeconds);
        if (load == 0 && save == 0 && ical == 0)
            return;
        std::printf("\nEvent set of %d events (median of the runs):\n", kEvents);
        if (load > 0) {
            std::printf("  load:  %8.1f ms  (target <= 100 ms: %s)\n", load * 1e3,
                        load <= 0.1 ? "met" : "MISSED");
            std::printf("  resident memory per event: %.0f bytes  (target <= 1024: %s)\n",
                        gResults.bytesPerEvent, gResults.bytesPerEvent <= 1024 ? "met" : "MISSED");
        }
        if (save > 0)
            std::printf("  save:  %8.1f ms  (target <= 100 ms: %s; same bytes as read: %s)\n",
                        save * 1e3, save <= 0.1 ? "met" : "MISSED",
                        gResults.savedSameBytes ? "yes" : "NO");
        if (ical > 0)
            std::printf("  libical parse of the same events as .ics: %8.1f ms\n", ical * 1e3);
        if (load > 0 && ical > 0)
            std::printf("  load is %.1fx as fast as libical's parse  (target >= 5x: %s)\n",
                        ical / load, ical / load >= 5 ? "met" : "MISSED");
    }
} gSummary;

}  // namespace

BENCHMARK(BM_EventSetLoad)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_EventSetSave)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_EventSetIcsParse)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
