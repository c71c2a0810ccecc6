// The subcommand "types": the driver's own vocabulary.
#include "mysensors/VarTypeConverter.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/Mesh.hpp"
#include "sim/Output.hpp"
#include "sim/Subcommands.hpp"
#include "sim/Text.hpp"

namespace hearthix::sim {

int runTypes(const Settings&) {
    ensureVocabulary();
    putLine("NUMBER  SUFFIX     DIMMABLE  READ-ONLY");
    for (Integer type = 0; mySensors::varTypeConverter->HasKey(type); ++type) {
        const String suffix = mySensors::varTypeToSuffix(type);
        std::string line = paddedLeft(Str(type), 6) + "  " + padded(suffix, 11);
        line += padded(mySensors::isVarTypeDimmable(type) ? "yes" : "no", 10);
        line += mySensors::isVarTypeReadOnly(type) ? "yes" : "no";
        putLine(line);
    }
    return 0;
}

} // namespace hearthix::sim
