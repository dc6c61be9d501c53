// What a disk-space watcher reports.
#pragma once

#include <cstdint>
#include <string>

namespace KivFile
{

// One watched directory that has less room than it needs. A value.
class DiskSpaceWatcherNotification
{
public:
    DiskSpaceWatcherNotification(const std::string& path, std::uint64_t available, std::uint64_t required)
        : m_path(path), m_available(available), m_required(required)
    {
    }

    // The directory, as it was given to the watcher.
    [[nodiscard]] const std::string& Path() const { return m_path; }
    // Bytes that the calling user had left when the directory was looked at.
    [[nodiscard]] std::uint64_t Available() const { return m_available; }
    // Bytes that were asked for; more than Available().
    [[nodiscard]] std::uint64_t Required() const { return m_required; }

private:
    std::string m_path;
    std::uint64_t m_available;
    std::uint64_t m_required;
};

} // namespace KivFile
