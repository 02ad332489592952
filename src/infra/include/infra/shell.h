#pragma once

#include <cstdint>
#include <string>

namespace pellago {

/// Opens links, documents and folders, starts programs, shows property sheets. A failure is a RunTimeError
/// 0x80040000 + 18041 … 18055; names of files and folders may be relative to the present folder.
class CShell final {
public:
    /// The parts stand in the link as they are, escaped by the caller (RFC 6068); empty ones are left out.
    void CreateNewMailMessage(const std::string& recipient_address, const std::string& cc_recipient_address,
                              const std::string& subject, const std::string& body) const;
    void ExploreFolder(const std::string& folder_name) const;
    /// With `wait_to_finish` blocks until the program has ended, without limit, and runs it in
    /// `start_directory` (the present folder when empty); else it runs in its own folder. Quotes in
    /// `parameters` keep blanks together, three in a row stand for one.
    void LaunchProgram(const std::string& path_file_name, const std::string& parameters, bool wait_to_finish,
                       const std::string& start_directory) const;
    /// A program is not started: the desktop decides what becomes of it.
    void OpenDocument(const std::string& path_file_name) const;
    void OpenFolder(const std::string& folder_name) const;
    /// For web and mail links. Only results 8, 26, 28, 29 and 30 of the desktop's shell are errors.
    void OpenUrl(const std::string& url) const;
    /// `hwnd_owner` is of no use: the property sheet belongs to another program, the file manager.
    void ShowProperties(const std::string& path_file_name, std::int32_t hwnd_owner = 0) const;
};

}  // namespace pellago
