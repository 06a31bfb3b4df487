// SPDX-License-Identifier: MIT
// The file-header parsers, then the options they give applied to a writer's setters.
#include "targets.h"

#include <QByteArray>

#include "params/apply_options.h"
#include "params/config_rows.h"
#include "params/file_header.h"
#include "rinex/rinex3xx.h"

namespace fuzzing {

std::string runHeader(const uint8_t* data, size_t size) {
    const QByteArray head = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    ParameterMap params;
    HeaderRows rows;
    params["Path Input"] = QStringLiteral("input.dat");
    parseLegacyHeader(params, rows, head);
    parseKeyHeader(params, rows, head.left(1024));
    if (head.size() > 512) parseKeyHeader(params, rows, head.mid(512, 1024));

    configRows(params);
    ConvertOptions options = defaultOptions(params);
    // What the header gives, over everything a tab offers.
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        if (!options.contains(it.key())) options.insert(it.key(), it.value());
    options["Path Output"] = QStringLiteral("output.00_");
    Rinex3xx writer;
    applyOptions(options, writer);
    return {};
}

} // namespace fuzzing
