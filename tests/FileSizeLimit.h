// Failures of writes that only this system lets a test bring about.
#pragma once

#include <csignal>
#include <sys/resource.h>

// While it lives, no file of this process grows beyond the limit.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t limit)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit lowered{limit, m_old.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lowered);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_old{};
    void (*m_handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};
