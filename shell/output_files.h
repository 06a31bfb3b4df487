// SPDX-License-Identifier: MIT
#pragma once
// The last step of a conversion, after the writer has closed its files: compression when it
// was chosen, and the names of the files left behind.
#include <QString>
#include <QStringList>

#include "params/parameter_names.h"

class StreamedCompactRinex;

// True when the options make file names other than the output path's five: the worker then
// reports every file it leaves, one "wrote <path>" message each.
bool reportsOutputFiles(const ConvertOptions& options);

// The first of the compressed names the plain files would get that exists already; empty
// when there is none (or no compression is chosen).
QString existingCompressedFile(const QStringList& plainNames, const ConvertOptions& options);

// Compresses the closed files as the options ask and removes the plain ones. On success the
// names of the files left behind are stored in finalNames; on failure the text says why
// (and no partial compressed file is left). With streamed (ready), the observation file's
// Compact RINEX is made from the body encoded while it was written.
bool finishOutputFiles(const QStringList& created, const ConvertOptions& options, QStringList* finalNames,
                       QString* error, StreamedCompactRinex* streamed = nullptr);
// Whether the options ask for the observation file in Compact RINEX.
bool compressesToCompactRinex(const ConvertOptions& options);
