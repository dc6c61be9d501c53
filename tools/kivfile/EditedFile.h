// A file that a command edits: its new content is written beside it and then takes its place.
#pragma once

#include <string>

namespace KivTool
{

// The bytes of a file by its house path, and the other way round; what is written has reached the medium. Throw what
// the file handle throws.
std::string ReadBytes(const std::string& file);
void WriteBytes(const std::string& file, const std::string& bytes);

// Whatever goes wrong before or in Commit, the file has its old content. A symbolic link stays one: the file that it
// leads to is edited. Owner, rights and extended attributes stay as they are.
class EditedFile
{
public:
    // name is as the user wrote it; the file need not exist. Throws a ToolError for what is no regular file, which a
    // new file must not replace, and what the file handle throws for one that may not be read and written.
    explicit EditedFile(const std::string& name);
    EditedFile(const EditedFile&) = delete;
    EditedFile& operator=(const EditedFile&) = delete;
    ~EditedFile();

    [[nodiscard]] bool Exists() const { return m_exists; }
    // The bytes when the object was made.
    [[nodiscard]] const std::string& Content() const { return m_content; }
    // The house path of the file that takes the place: empty at first, and gone with this object unless committed.
    [[nodiscard]] const std::string& WorkFile() const { return m_workFile; }

    // Throws the system's error.
    void Commit();

private:
    void CreateWorkFile();

    const std::string m_target;
    bool m_exists = false;
    std::string m_content;
    std::string m_workFile;
};

} // namespace KivTool
