#pragma once

#include "document/document.h"

#include <QStringView>

#include <stdexcept>

// Thrown for a snapshot that is not what the page bridge writes.
class SnapshotFormatError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Reads the JSON that the page bridge's snapshot() returns. Every index is checked, since the
// page controls the strings in it and could be built to confuse a careless reader.
DocumentPtr documentFromSnapshotJson(QStringView json);

// The document a snapshot read without its texts (Document::textsPending) is with the texts
// that the page bridge's texts() returns.
DocumentPtr documentWithTexts(const Document &structure, QStringView json);
