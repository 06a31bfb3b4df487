#include "shell/output_files.h"

#include "params/output_options.h"

bool reportsOutputFiles(const ConvertOptions& options) {
    using namespace outputoptions;
    QByteArray systems;
    const bool selectsSystems = parseSystems(options.value(Systems), &systems) && systems.size() < AllSystems.size();
    return options.value(LongName) == "1" || !options.value(Compression).isEmpty() || selectsSystems;
}

bool finishOutputFiles(const QStringList& created, const ConvertOptions& options, QStringList* finalNames,
                       QString* error) {
    Q_UNUSED(options);
    Q_UNUSED(error);
    *finalNames = created;
    return true;
}
