#include "NumberedSettings.h"
#include "platform/linux/FileUserDefaults.h"
#include "settings/SettingsStore.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

// lumivane_settings_saver FOLDER FIRST LAST [KEY]
//
// Saves numbered settings one after the other, or their numbers under a key of its own, and says on
// standard output "before N" and "after N" at each.

using namespace lumivane;

namespace {

void say(const std::string& line) {
    if (::write(STDOUT_FILENO, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        std::exit(1);
    }
}

void save(FileUserDefaults& defaults, int number, const QString& key) {
    if (key.isEmpty()) {
        SettingsStore(defaults).save(test::numberedSettings(number));
        return;
    }
    defaults.set(QByteArray::number(number), key);
    if (defaults.data(key) != QByteArray::number(number)) {
        std::exit(2);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        return 1;
    }
    FileUserDefaults defaults(QString::fromLocal8Bit(argv[1]));
    const int last = std::atoi(argv[3]);
    for (int number = std::atoi(argv[2]); number <= last; ++number) {
        say("before " + std::to_string(number) + "\n");
        save(defaults, number, QString::fromLocal8Bit(argc > 4 ? argv[4] : ""));
        say("after " + std::to_string(number) + "\n");
    }
    return 0;
}
