// Prints what happens below a directory, until Ctrl-C or until something happens to what ends with LAST.
//
//   example-directoryevents DIR [LAST]
#include <algorithm>
#include <iostream>

#include "EventSource.h"
#include <KivBase/SmartPtr.h>
#include <KivFile/ObserverCallInterface.h>
#include <KivThread/EventSemaphore.h>

// Its handlers run on a thread of their own, while the next events come in.
struct Printer : KivFile::ObserverCallInterface {
    KivThread::EventSemaphore atEnd{KivThread::EventSemaphore::ManualReset};

    static void Print(const char* what, const Kiv::WString& path) { std::cout << what + Kiv::Utf8(path) << std::endl; }
    void OnKind0File(const Kiv::WString& path, std::uint32_t) override { Print("changed file: ", path); }
    void OnKind1File(const Kiv::WString& path, std::uint32_t) override { Print("new file: ", path); }
    void OnKind1Directory(const Kiv::WString& path, std::uint32_t) override { Print("new directory: ", path); }
    void OnEventsLost(const Kiv::WString& path, std::uint32_t) override { Print("lost events: ", path); }
    void OnKind2(const Kiv::WString& path, std::uint32_t isEnd) override
    {
        isEnd ? atEnd.Signal() : Print("gone: ", path);
    }
};

int main(int argc, char** argv)
try {
    const std::string directory = argc > 1 ? argv[1] : ".";
    const auto isLast = [&](const auto& event) {
        return argc > 2 && event.path.ends_with(Kiv::WideFromNarrow(argv[2]));
    };
    const auto printer = Kiv::MakeShared<Printer>();
    printer->Start();
    Watch(directory, [&](const Events& events) {
        if (events.empty())
            printer->OnEventsLost(Kiv::WideFromNarrow(directory), 0);
        printer->EventsOccurred(events);
        return std::ranges::none_of(events, isLast);
    });
    printer->EventsOccurred({{GONE, {}, true}}); // handled when all others have been
    printer->atEnd.Wait();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
