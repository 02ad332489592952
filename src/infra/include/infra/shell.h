#pragma once

#include <cstdint>
#include <string>

namespace pellago {

/// Opens links, documents and folders, starts programs, shows property sheets. A failure is a RunTimeError
/// 0x80040000 + 18041 … 18055; names of files and folders may be relative to the present folder.
class CShell final {
public:
    /// The parts stand in the link as they are, escaped by the caller (RFC 6068); empty ones are left out.
    void CreateNewMailMessage(const std::string& RecipientAddress, const std::string& CCRecipientAddress,
                              const std::string& Subject, const std::string& Body) const;
    void ExploreFolder(const std::string& FolderName) const;
    /// With `WaitToFinish` blocks until the program has ended, without limit, and runs it in `StartDirectory`
    /// (the present folder when empty); else it runs in its own folder. Quotes in `Parameters` keep blanks
    /// together, three in a row stand for one.
    void LaunchProgram(const std::string& PathFileName, const std::string& Parameters, bool WaitToFinish,
                       const std::string& StartDirectory) const;
    /// A program is not started: the desktop decides what becomes of it.
    void OpenDocument(const std::string& PathFileName) const;
    void OpenFolder(const std::string& FolderName) const;
    /// For web and mail links. Only results 8, 26, 28, 29 and 30 of the desktop's shell are errors.
    void OpenUrl(const std::string& Url) const;
    /// `HWndOwner` is of no use: the property sheet belongs to another program, the file manager.
    void ShowProperties(const std::string& PathFileName, std::int32_t HWndOwner = 0) const;
};

}  // namespace pellago
