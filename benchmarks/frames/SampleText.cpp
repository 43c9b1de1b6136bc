#include "frames/SampleText.h"

#include <array>

namespace lumivane::bench {

namespace {

constexpr std::array<QStringView, 24> sentences{
    u"The harbour office opens at seven and closes when the last boat has been unloaded.",
    u"Please send the corrected figures for the third quarter before Thursday at noon.",
    u"A reader who skips the preface will miss why the experiment was repeated twice.",
    u"Most of the 1,284 answers came from towns with fewer than 20,000 inhabitants.",
    u"How much water does the reservoir lose to evaporation in a dry month?",
    u"We measured each sample three times, discarded the outliers, and kept the median.",
    u"The bridge was widened in 1937, and its northern arch has carried rail traffic since.",
    u"Nobody expected the archive to hold the original drawings, let alone the letters.",
    u"Costs rose by 4.7% against the budget, chiefly because freight became dearer.",
    u"If the seal is broken, return the package unopened and ask for a replacement.",
    u"Birds that winter on the estuary leave in March, a week earlier than a decade ago.",
    u"The committee will meet again on 14 May to vote on the revised proposal.",
    u"Write down every assumption first; most quarrels about models begin with a hidden one.",
    u"A small lamp above the door shows whether the laboratory is in use.",
    u"Her second book sold poorly at first but has never been out of print.",
    u"Turn the valve clockwise until the needle rests between 2 and 3 bar.",
    u"Three students proposed a shorter proof, which the lecturer printed in full.",
    u"Rainfall in the valley varies more between neighbouring years than between decades.",
    u"The museum lends instruments to young players who cannot afford their own.",
    u"Keep the receipt: without it the guarantee covers parts only, not labour.",
    u"It takes about forty minutes to walk from the station to the old observatory.",
    u"Every message is stored for 30 days and then removed from all copies.",
    u"The glaze turns green where the kiln is hottest and stays brown near the door.",
    u"Whoever finishes early may help to label the maps for the next group.",
};

} // namespace

QString prose(int start, int count) {
    QStringList chosen;
    for (int i = 0; i < count; ++i) {
        // A stride without a common factor visits all sentences before one comes again.
        const auto index = static_cast<std::size_t>(start * 5 + i * 7) % sentences.size();
        chosen.append(sentences[index].toString());
    }
    return chosen.join(u' ');
}

QStringList sourceCode() {
    return uR"(#include "ledger/account.h"

#include <algorithm>
#include <numeric>

namespace ledger {

// Sums all entries that were booked on or before the day.
Amount Account::balanceOn(Date day) const {
    Amount total = openingBalance;
    for (const Entry& entry : entries) {
        if (entry.bookedOn <= day) {
            total += entry.amount;
        }
    }
    return total;
}

std::optional<Entry> Account::largestEntry() const {
    const auto largest = std::max_element(
        entries.begin(), entries.end(),
        [](const Entry& left, const Entry& right) {
            return left.amount < right.amount;
        });
    if (largest == entries.end()) {
        return std::nullopt;
    }
    return *largest;
}

void Account::book(Entry entry) {
    if (entry.amount == Amount::zero()) {
        throw std::invalid_argument("an entry needs an amount");
    }
    const auto position = std::upper_bound(
        entries.begin(), entries.end(), entry, byDate);
    entries.insert(position, std::move(entry));
    lastChange = clock.today();
}

} // namespace ledger)"_qs.split(u'\n');
}

QStringList shellSession() {
    return uR"(marta@workbench:~/projects/tidewatch$ ls -l data
total 1840
-rw-r--r-- 1 marta staff 412096 Mar 03 09:14 gauge-north.csv
-rw-r--r-- 1 marta staff 398272 Mar 03 09:14 gauge-south.csv
-rw-r--r-- 1 marta staff 524288 Mar 04 17:52 harbour-wall.csv
drwxr-xr-x 4 marta staff 4096 Feb 27 11:30 archive
-rwxr-xr-x 1 marta staff 2316 Jan 19 08:05 import.sh
marta@workbench:~/projects/tidewatch$ ./import.sh --since 2024-02-01
reading gauge-north.csv ... 28612 rows
reading gauge-south.csv ... 27904 rows
reading harbour-wall.csv ... 35077 rows
warning: 14 rows without a time stamp were skipped
imported 91579 rows in 6.2 seconds
marta@workbench:~/projects/tidewatch$ make test
[ 12%] Building object model/harmonics.o
[ 37%] Building object model/residuals.o
[ 62%] Building object import/reader.o
[ 87%] Linking executable tests/run-all
[100%] Built target run-all
Running 148 tests from 17 suites
PASSED 147 tests
FAILED 1 test: Residuals.KeepsSignOfSmallValues
expected -0.0031 but was 0.0031 (model/residuals.c, line 219)
make: *** [Makefile:41: test] Error 1
marta@workbench:~/projects/tidewatch$ grep -n fabs model/residuals.c
57: double largest = fabs(values[0]);
219: values[i] = fabs(values[i]) * scale;
marta@workbench:~/projects/tidewatch$ df -h /srv
Filesystem Size Used Avail Use% Mounted on
/dev/nvme0n1p3 233G 171G 51G 78% /srv
marta@workbench:~/projects/tidewatch$ uptime
17:58:21 up 12 days, 3:07, 2 users, load average: 0.42, 0.55, 0.61)"_qs.split(u'\n');
}

} // namespace lumivane::bench
