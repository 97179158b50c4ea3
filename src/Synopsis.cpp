#include "Synopsis.h"

#include "fileUtilities.h"

#include <algorithm>
#include <limits>
#include <ostream>

Synopsis::Synopsis() {
    // Here and not in main, since this is the first file of the process.
    prepareOutputs();
    ws.open("synopsis.csv", std::ios::out | std::ios::trunc);
    ws << "startDate,endDate,direction,loSoc,hiSoc,loDsoc,hiDsoc,transportedCharge" << std::endl;
    initialize(unknown);
    count = 0;
}

Synopsis::~Synopsis() {
    write(ws);
}

void Synopsis::initialize(ChargeDirection newDirection) {
    ++count;
    direction = newDirection;
    loDsoc = 100;
    hiDsoc = 0;
    loSoc = 100;
    hiSoc = 0;
    loTransportedCharge = std::numeric_limits<uint32_t>::max();
    hiTransportedCharge = 0;
}

void Synopsis::start(std::string_view datestamp, ChargeDirection newDirection) {
    if (newDirection == direction) {
        return;
    }
    write(ws);
    startDate = datestamp;
    endDate = datestamp;
    initialize(newDirection);
}

void Synopsis::dynamicInfo(std::string_view datestamp, uint16_t dsoc, uint16_t soc) {
    endDate = datestamp;
    loDsoc = std::min(loDsoc, dsoc);
    hiDsoc = std::max(hiDsoc, dsoc);
    loSoc = std::min(loSoc, soc);
    hiSoc = std::max(hiSoc, soc);
}

void Synopsis::advancedSOC(std::string_view datestamp, uint32_t transportedCharge) {
    if (transportedCharge == 0) {
        return;
    }
    endDate = datestamp;
    loTransportedCharge = std::min(loTransportedCharge, transportedCharge);
    hiTransportedCharge = std::max(hiTransportedCharge, transportedCharge);
}

void Synopsis::write(std::ostream& os) {
    if (count == 0 || loSoc > hiSoc || direction == unknown) {
        return;
    }
    // Without a counter reading the difference wraps to 1, and 1 is what the file shows then.
    const uint32_t transportedCharge = hiTransportedCharge - loTransportedCharge;
    os << startDate << ',' << endDate << ',' << (direction == charge ? "charge" : "discharge")
       << ',' << loSoc << ',' << hiSoc << ',' << loDsoc << ',' << hiDsoc << ',' << transportedCharge
       << std::endl;
}
