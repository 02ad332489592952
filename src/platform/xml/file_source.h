#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/files/descriptor.h"
#include "platform/xml/document_source.h"

namespace pellago {

/// A document in a file, read piece by piece, so that the message loop runs meanwhile. Only regular files:
/// what else there is may never end.
class FileSource final : public DocumentSource, public std::enable_shared_from_this<FileSource> {
public:
    explicit FileSource(std::string path);

    void Start(DocumentEvents events) override;
    void Abort() override;

private:
    using Step = void (FileSource::*)();

    /// Takes the step from the message loop, unless the source is aborted or gone by then.
    void Later(Step step);
    void Open();
    void Read();
    void End(const std::string& error);

    std::string path_;
    DocumentEvents events_;
    std::unique_ptr<const Descriptor> file_;
    bool is_over_ = false;
};

}  // namespace pellago
