#include "corra/Export.h"

#include "corra/Console.h"
#include "corra/StateFile.h"
#include "corra/StateSchema.h"
#include "corra/WholeFile.h"

namespace corra {

int exportState(const ExportOptions& options) {
    Source source(options.source);
    const std::string text = stateText(source.roots());
    if (!options.file.empty()) {
        writeFileAtomically(options.file, text);
        return exitGood;
    }
    print(text);
    flushOutput();
    return exitGood;
}

int schema() {
    print(stateSchema().dump(2) + '\n');
    flushOutput();
    return exitGood;
}

}  // namespace corra
