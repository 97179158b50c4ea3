// The combined state of the battery: what each record changes in it, and its row. Every test
// compares whole rows, so that what must not change is seen not to.

#include "RecordReading.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

/// What a row is expected to hold, piece by piece; as it stands, the row before any record.
struct Row {
    std::string datestamp = {};
    std::string dynamicInfo = ",,,,,,,,,,,,,,,,"  // module 1: sixteen empty fields
                              ",,,,,,,,,,,,,,,,"; // module 2
    std::string advancedSoc = ",,,,,"             // module 1: five empty fields
                              ",,,,,";            // module 2
    std::string powerMode = ",normal";
    std::string faults = ",0,0,0,0,0,0"; // categories 1, 2, 4, 8, 16 and 128
    std::string systemState = {};
    std::string chargeScheduleState = {};
    std::string signals = ",,,,"; // SBX, AC, button and interlock
    std::string bmcVersion = {};
    std::string bmuVersion = {};
};

std::string textOf(const Row& row) {
    return row.datestamp + row.dynamicInfo + row.advancedSoc + row.powerMode + row.faults + "," +
           row.systemState + "," + row.chargeScheduleState + row.signals + "," + row.bmcVersion +
           "," + row.bmuVersion + "\n";
}

/// Three moments, and their datestamps.
const Stamp t1 = stamp(2020, 5, 1);
const Stamp t2 = stamp(2020, 5, 2);
const Stamp t3 = stamp(2020, 5, 3);
const std::string d1 = "2020-05-01 00:00:00.0";
const std::string d2 = "2020-05-02 00:00:00.0";
const std::string d3 = "2020-05-03 00:00:00.0";

/// A sample and its block of the row, after the module.
DynamicInfo sample() {
    DynamicInfo info;
    info.millivolts = 25600;
    info.deciAmperes = -15;
    info.soc = 60;
    info.dsoc = 40;
    info.status = 0x0400;
    info.cellMillivolts = {3500, 3625, 3500, 3750, 3500, 3500, 3500};
    info.deciKelvin = 2982;
    return info;
}

const std::string sampleBlock = ",25.6,-1.5,60,40,3.5,3.625,3.5,3.75,3.5,3.5,3.5,0.25,25.05,1,0";
const std::string emptyDynamicInfo = ",,,,,,,,,,,,,,,,";
const std::string emptySoc = ",,,,,";

/// A wide record with short verbs for what it is given.
class WideRecord : public testing::Test {
protected:
    void dynamicInfo(Stamp when, unsigned module) {
        wide.updateDynamicInfo(*readRecord<DynamicInfoDataRecordWithModuleAddress>(
            LogBuilder().dynamicInfo(when, module, sample())));
    }

    void soc(Stamp when, unsigned module, uint32_t charge) {
        wide.updateSOC(*readRecord<AdvancedSOCDataRecordWithModuleAddress>(
            LogBuilder().advancedSoc(when, module, charge, 20, 99, 50)));
    }

    void powerMode(Stamp when, unsigned mode) {
        wide.updatePowerMode(*readRecord<PowerModeDataRecord>(LogBuilder().powerMode(when, mode)));
    }

    void fault(Stamp when, unsigned category, unsigned bits) {
        wide.updateFault(*readRecord<FaultDataRecord>(LogBuilder().fault(when, category, bits)));
    }

    void message(Stamp when, std::string_view text) {
        wide.updateMessage(*readRecord<MessageDataRecord>(LogBuilder().message(when, text)));
    }

    void bmcVersion(std::string_view text) {
        wide.updateBMCFWVersion(
            *readRecord<BMCFirmwareVersionDataRecord>(LogBuilder().firmwareVersion(t3, text)));
    }

    void bmuVersion(const std::string& text, unsigned module = 1) {
        StaticInfo info;
        info.firmwareVersion = text;
        wide.updateStaticInfo(*readRecord<StaticInfoDataRecordWithModuleAddress>(
            LogBuilder().staticInfo(t3, module, info)));
    }

    std::string row() { return lineOf(wide); }

    std::string headerLine() {
        std::ostringstream os;
        wide.writeCSVHeader(os);
        return os.str();
    }

    WideDataRecord wide;
};

// =================================================================================================
// Header
// =================================================================================================

TEST_F(WideRecord, headerHas57ColumnsForTwoModules) {
    EXPECT_EQ(wide.header().size(), 57U);
    EXPECT_EQ(headerLine(),
              "Datestamp,"
              "module,packVoltage (V),current (A),soc (%),dsoc (%),cellRow[1] (V),cellRow[2] (V),"
              "cellRow[3] (V),cellRow[4] (V),cellRow[5] (V),cellRow[6] (V),cellRow[7] (V),"
              "imbalance,cellTemperature[0] (C),heat,balance,"
              "module,packVoltage (V),current (A),soc (%),dsoc (%),cellRow[1] (V),cellRow[2] (V),"
              "cellRow[3] (V),cellRow[4] (V),cellRow[5] (V),cellRow[6] (V),cellRow[7] (V),"
              "imbalance,cellTemperature[0] (C),heat,balance,"
              "module,totalCharge (mAH),totalDischarge (mAH),dsoc,soh,"
              "module,totalCharge (mAH),totalDischarge (mAH),dsoc,soh,"
              "power-mode,"
              "General Faults,Current Faults,Voltage Faults,Temperature Faults,"
              "Communication Faults,FeatureFaults,System State,Charge Schedule State,SBX Sense,"
              "AC Present,Button,Interlock,BMC FW,BMU FW\n");
}

TEST_F(WideRecord, headerStaysAsItWasFirstBuiltWhenAModuleIsAdded) {
    const std::string before = headerLine();
    dynamicInfo(t1, 3);
    soc(t1, 3, 1);
    EXPECT_EQ(headerLine(), before);
}

TEST_F(WideRecord, headerDescribesTheModulesKnownWhenItIsFirstBuilt) {
    dynamicInfo(t1, 3);
    EXPECT_EQ(wide.header().size(), 57U + 16U);
}

TEST_F(WideRecord, rowsOfModules1And2HaveAsManyFieldsAsTheHeader) {
    const auto commasIn = [](const std::string& line) {
        return std::count(line.begin(), line.end(), ',');
    };
    EXPECT_EQ(commasIn(headerLine()), 57);
    EXPECT_EQ(commasIn(row()), 57);
    dynamicInfo(t1, 1);
    EXPECT_EQ(commasIn(row()), 57);
    dynamicInfo(t1, 2);
    soc(t1, 1, 1);
    soc(t1, 2, 1);
    fault(t1, 32, 1);
    message(t1, "systemState=+5");
    message(t1, "chargeSchedule.state = IDLE");
    message(t1, "interlock=+1");
    bmcVersion("a b c");
    bmuVersion("d");
    EXPECT_EQ(commasIn(row()), 57);
    dynamicInfo(t1, 3);
    EXPECT_EQ(commasIn(row()), 57 + 16);
}

// =================================================================================================
// The row
// =================================================================================================

TEST_F(WideRecord, emptyRowHasNoDatestampEmptyModulesAndFaultsOf0) {
    EXPECT_TRUE(wide.datestamp.empty());
    // 2 * 16 and 2 * 5 commas, the power mode 0, six categories never seen, a comma each before two
    // states, four signals and two versions.
    EXPECT_EQ(row(),
              std::string(42, ',') + ",normal" + ",0,0,0,0,0,0" + std::string(8, ',') + "\n");
    EXPECT_EQ(row(), textOf(Row()));
}

TEST_F(WideRecord, rowCombinesEverythingInColumnOrder) {
    // All at 00:00:00.0 of day 33 D6 = 51 * 256 + 214 = 13270: 1984 to 2019 are 36 years with 9
    // leap years, 13149 days, which leaves 121, and January to April of 2020 take 121: 1 May.
    const auto frame = [](const char* type, const std::string& payload) {
        return bytesOf(type) + bytesOf("00 00 00 00 33 D6") + payload + bytesOf("10 03");
    };
    wide.updateDynamicInfo(*readRecord<DynamicInfoDataRecord>(
        frame("02", bytesOf("00 00"             // a word
                            "5D C0"             // 93 * 256 + 192 = 24000 mV
                            "00 00 00 0F"       // 15 tenths of an ampere
                            "00 3C"             // soc 60
                            "00 28"             // dsoc 40
                            "20 00"             // balancing
                            "0D AC 0D AC 0D AC" // six cells of 3500 mV
                            "0D AC 0D AC 0D AC"
                            "0E A6"      // and one of 3750
                            "0B A6")))); // 298.2 K, 25.05 degrees
    wide.updateSOC(*readRecord<AdvancedSOCDataRecordWithModuleAddress>(
        frame("0F", bytesOf("02"               // module 2
                            "00 00 03 E8"      // 1000 mAh
                            "00 00 07 D0"      // 2000 mAh
                            "42 C5 00 00"      // soh 98.5
                            "42 A2 80 00")))); // soc 81.25
    // 51, dormant.
    wide.updatePowerMode(*readRecord<PowerModeDataRecord>(frame("09", bytesOf("33"))));
    // Category and bits, in an order of their own.
    for (const char* fault :
         {"00 00 80 00 00 00 00 06", "00 00 01 00 00 00 00 01", "00 00 10 10 00 00 00 00 05",
          "00 00 02 00 00 00 00 02", "00 00 08 00 00 00 00 04", "00 00 04 00 00 00 00 03"}) {
        wide.updateFault(*readRecord<FaultDataRecord>(frame("03", bytesOf(fault))));
    }
    for (const char* text : {"systemState=+6", "chargeSchedule.state = BULK", "sbx_sense=+1",
                             "hud_multifunc=+0", "ac_no_sense=+1"}) {
        wide.updateMessage(*readRecord<MessageDataRecord>(frame("05", text)));
    }
    wide.updateBMCFWVersion(*readRecord<BMCFirmwareVersionDataRecord>(frame("06", "BMC is 3.1")));
    // The version is the text at offset 113.
    wide.updateStaticInfo(
        *readRecord<StaticInfoDataRecord>(frame("01", std::string(113, '\0') + "2.7 x")));
    EXPECT_EQ(row(), "2020-05-01 00:00:00.0"
                     ",1,24,1.5,60,40,3.5,3.5,3.5,3.5,3.5,3.5,3.75,0.25,25.05,0,1" // module 1
                     ",,,,,,,,,,,,,,,,"                                            // module 2
                     ",,,,,"                                                       // module 1
                     ",2,1000,2000,98.5,81.25" // module 2: soh under "dsoc", soc under "soh"
                     ",dormant"
                     ",1,2,3,4,5,6" // the faults in the order of their categories
                     ",6,BULK"      // system and charge schedule state
                     ",1,1,0,"      // SBX, AC, button and the interlock, never reported
                     ",3.1,2.7\n"); // BMC and BMU
}

TEST_F(WideRecord, writingTheRowChangesNothing) {
    dynamicInfo(t1, 1);
    fault(t1, 4, 3);
    const std::string first = row();
    EXPECT_EQ(row(), first);
}

TEST_F(WideRecord, rowOnAStreamThatWasNeverOpenedFailsIt) {
    dynamicInfo(t1, 1);
    std::ofstream os;
    wide.writeCSVTimestampedData(os);
    EXPECT_TRUE(os.fail());
}

TEST_F(WideRecord, rowOnAFailedStreamWritesNothing) {
    std::ostringstream os;
    os.setstate(std::ios::failbit);
    wide.writeCSVTimestampedData(os);
    EXPECT_EQ(os.str(), "");
}

// =================================================================================================
// Modules
// =================================================================================================

TEST_F(WideRecord, aModuleIsEmptyUntilItsRecordReplacesTheDefaultOne) {
    dynamicInfo(t1, 1);
    EXPECT_EQ(row(),
              textOf({.datestamp = d1, .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo}));
    dynamicInfo(t2, 2);
    EXPECT_EQ(row(),
              textOf({.datestamp = d2, .dynamicInfo = ",1" + sampleBlock + ",2" + sampleBlock}));
}

TEST_F(WideRecord, aModulesChargeCountersAreEmptyUntilTheirRecordArrives) {
    soc(t1, 2, 10);
    EXPECT_EQ(row(), textOf({.datestamp = d1, .advancedSoc = emptySoc + ",2,10,20,99,50"}));
    soc(t2, 1, 11);
    EXPECT_EQ(row(), textOf({.datestamp = d2,
                             .advancedSoc = ",1,11,20,99,50"
                                            ",2,10,20,99,50"}));
}

TEST_F(WideRecord, theLatestRecordOfAModuleCounts) {
    wide.updateDynamicInfo(DynamicInfoDataRecord()); // never interpreted
    dynamicInfo(t1, 1);
    soc(t1, 1, 10);
    soc(t2, 1, 5);
    EXPECT_EQ(row(), textOf({.datestamp = d2,
                             .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo,
                             .advancedSoc = ",1,5,20,99,50" + emptySoc}));
    soc(t3, 1, 6);
    EXPECT_EQ(row(), textOf({.datestamp = d3,
                             .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo,
                             .advancedSoc = ",1,6,20,99,50" + emptySoc}));
    wide.updateDynamicInfo(DynamicInfoDataRecord());
    EXPECT_EQ(row(), textOf({.advancedSoc = ",1,6,20,99,50" + emptySoc})); // its datestamp is empty
}

TEST_F(WideRecord, plainRecordsAreModule1) {
    wide.updateDynamicInfo(
        *readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo(t1, sample(), false)));
    wide.updateSOC(
        *readRecord<AdvancedSOCDataRecord>(LogBuilder().advancedSoc(t1, 10, 20, 99, 50)));
    EXPECT_EQ(row(), textOf({.datestamp = d1,
                             .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo,
                             .advancedSoc = ",1,10,20,99,50" + emptySoc}));
}

TEST_F(WideRecord, aModule3AddsItsFieldsBehindThoseOfModules1And2) {
    dynamicInfo(t1, 3);
    EXPECT_EQ(row(),
              textOf({.datestamp = d1,
                      .dynamicInfo = emptyDynamicInfo + emptyDynamicInfo + ",3" + sampleBlock}));
    soc(t2, 3, 10);
    EXPECT_EQ(row(),
              textOf({.datestamp = d2,
                      .dynamicInfo = emptyDynamicInfo + emptyDynamicInfo + ",3" + sampleBlock,
                      .advancedSoc = emptySoc + emptySoc + ",3,10,20,99,50"}));
}

TEST_F(WideRecord, modulesStandInTheOrderOfTheirNumbersWhateverTheOrderOfTheirRecords) {
    dynamicInfo(t1, 255);
    dynamicInfo(t1, 0);
    dynamicInfo(t1, 3);
    soc(t1, 4, 1);
    soc(t1, 0, 2);
    EXPECT_EQ(row(),
              textOf({.datestamp = d1,
                      .dynamicInfo = ",0" + sampleBlock + emptyDynamicInfo + emptyDynamicInfo +
                                     ",3" + sampleBlock + ",255" + sampleBlock,
                      .advancedSoc = ",0,2,20,99,50" + emptySoc + emptySoc + ",4,1,20,99,50"}));
}

TEST_F(WideRecord, modulesAreToldApartByTheLowByteOfTheirAddress) {
    const auto info = readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo(t1, sample()));
    info->moduleAddress = 0x0102;
    wide.updateDynamicInfo(*info);
    const auto counters =
        readRecord<AdvancedSOCDataRecord>(LogBuilder().advancedSoc(t1, 10, 20, 99, 50));
    counters->moduleAddress = 0x0102;
    wide.updateSOC(*counters);
    // Module 2, shown with its whole address.
    EXPECT_EQ(row(), textOf({.datestamp = d1,
                             .dynamicInfo = emptyDynamicInfo + ",258" + sampleBlock,
                             .advancedSoc = emptySoc + ",258,10,20,99,50"}));
}

TEST_F(WideRecord, keepsCopiesOfTheRecordsItIsGiven) {
    const auto info = readRecord<DynamicInfoDataRecord>(LogBuilder().dynamicInfo(t1, sample()));
    wide.updateDynamicInfo(*info);
    info->soc = 1;
    info->interpreted = false;
    EXPECT_EQ(row(),
              textOf({.datestamp = d1, .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo}));
}

// =================================================================================================
// Power mode and faults
// =================================================================================================

TEST_F(WideRecord, aPowerModeReplacesTheModeAndMovesTheDatestamp) {
    powerMode(t1, 34);
    EXPECT_EQ(row(), textOf({.datestamp = d1, .powerMode = ",manual-travel"}));
    powerMode(t2, 17);
    EXPECT_EQ(row(), textOf({.datestamp = d2, .powerMode = ",reserve"}));
    powerMode(t3, 255);
    EXPECT_EQ(row(), textOf({.datestamp = d3}));
}

TEST_F(WideRecord, eachFaultCategoryHasItsColumnAndACategoryNeverSeenIs0) {
    fault(t1, 1, 11);
    EXPECT_EQ(row(), textOf({.datestamp = d1, .faults = ",11,0,0,0,0,0"}));
    fault(t2, 2, 12);
    EXPECT_EQ(row(), textOf({.datestamp = d2, .faults = ",11,12,0,0,0,0"}));
    fault(t3, 4, 13);
    EXPECT_EQ(row(), textOf({.datestamp = d3, .faults = ",11,12,13,0,0,0"}));
    fault(t1, 8, 14);
    EXPECT_EQ(row(), textOf({.datestamp = d1, .faults = ",11,12,13,14,0,0"}));
    fault(t2, 16, 15);
    EXPECT_EQ(row(), textOf({.datestamp = d2, .faults = ",11,12,13,14,15,0"}));
    fault(t3, 128, 65535);
    EXPECT_EQ(row(), textOf({.datestamp = d3, .faults = ",11,12,13,14,15,65535"}));
}

TEST_F(WideRecord, aFaultRecordReplacesTheOneOfItsCategory) {
    fault(t1, 2, 3);
    fault(t2, 2, 4);
    EXPECT_EQ(row(), textOf({.datestamp = d2, .faults = ",0,4,0,0,0,0"}));
    fault(t3, 2, 0);
    EXPECT_EQ(row(), textOf({.datestamp = d3}));
}

TEST_F(WideRecord, faultsOf32And64AndAllOtherCategoriesWithoutAColumnOnlyMoveTheDatestamp) {
    fault(t1, 1, 7);
    for (unsigned category = 0; category < 256; ++category) {
        if (category == 1 || category == 2 || category == 4 || category == 8 || category == 16 ||
            category == 128) {
            continue;
        }
        message(t1, "systemState=+5"); // sets the datestamp back
        fault(t2, category, 0xFFFF);
        EXPECT_EQ(row(), textOf({.datestamp = d2, .faults = ",7,0,0,0,0,0", .systemState = "5"}))
            << "category " << category;
    }
}

TEST_F(WideRecord, aFaultIsKeptUnderTheLowByteOfItsCategory) {
    const auto record = readRecord<FaultDataRecord>(LogBuilder().fault(t1, 0, 9));
    record->error_register = 0x0104;
    wide.updateFault(*record);
    EXPECT_EQ(row(), textOf({.datestamp = d1, .faults = ",0,0,9,0,0,0"}));
}

TEST_F(WideRecord, aFaultKeepsItsBitsInEveryLaterRowUntilARestart) {
    fault(t1, 8, 5);
    dynamicInfo(t2, 1);
    Row expected = {.datestamp = d2,
                    .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo,
                    .faults = ",0,0,0,5,0,0"};
    EXPECT_EQ(row(), textOf(expected));
    message(t2, "systemState=+5");
    expected.systemState = "5";
    EXPECT_EQ(row(), textOf(expected));
    message(t3, "systemState=+1");
    expected.systemState = "1";
    expected.datestamp = d3;
    expected.faults = ",0,0,0,0,0,0";
    EXPECT_EQ(row(), textOf(expected));
}

// =================================================================================================
// Messages
// =================================================================================================

/// Every piece of the state set to something, at t1.
class FullWideRecord : public WideRecord {
protected:
    void SetUp() override {
        dynamicInfo(t1, 1);
        soc(t1, 2, 10);
        powerMode(t1, 51);
        fault(t1, 1, 1);
        fault(t1, 2, 2);
        fault(t1, 4, 3);
        fault(t1, 8, 4);
        fault(t1, 16, 5);
        fault(t1, 128, 6);
        fault(t1, 32, 7);
        message(t1, "chargeSchedule.state = BULK");
        message(t1, "sbx_sense=+1");
        message(t1, "ac_no_sense=+1");
        message(t1, "hud_multifunc=+0");
        message(t1, "interlock=+0");
        bmcVersion("a b 3.1");
        bmuVersion("2.7");
        message(t1, "systemState=+6");
        ASSERT_EQ(row(), textOf(expected));
    }

    Row expected = {.datestamp = d1,
                    .dynamicInfo = ",1" + sampleBlock + emptyDynamicInfo,
                    .advancedSoc = emptySoc + ",2,10,20,99,50",
                    .powerMode = ",dormant",
                    .faults = ",1,2,3,4,5,6",
                    .systemState = "6",
                    .chargeScheduleState = "BULK",
                    .signals = ",1,1,0,0",
                    .bmcVersion = "3.1",
                    .bmuVersion = "2.7"};
};

TEST_F(FullWideRecord, systemState1ForgetsFaultsSignalsAndChargeScheduleStateAlone) {
    message(t2, "systemState=+1");
    expected.datestamp = d2;
    expected.systemState = "1";
    expected.faults = ",0,0,0,0,0,0";
    expected.signals = ",,,,";
    expected.chargeScheduleState = "";
    EXPECT_EQ(row(), textOf(expected));
}

TEST_F(FullWideRecord, anyOtherSystemStateChangesOnlyTheStateAndTheDatestamp) {
    using namespace std::string_literals;
    for (const std::string& state :
         {"0"s, "5"s, "10"s, "01"s, " 1"s, "1 "s, "1\0"s, "1\n"s, "ST_RESTART"s, "ST_RUN"s}) {
        message(t1, "systemState=+6");
        message(t2, "systemState=+" + state);
        expected.datestamp = d2;
        expected.systemState = state;
        EXPECT_EQ(row(), textOf(expected));
    }
}

TEST_F(FullWideRecord, aChargeScheduleStateChangesOnlyItselfAndTheDatestamp) {
    message(t2, "chargeSchedule.state = A,B\n");
    expected.datestamp = d2;
    expected.chargeScheduleState = "A,B\n"; // written as it is
    EXPECT_EQ(row(), textOf(expected));
    message(t3, "chargeSchedule.state = 1"); // no restart
    expected.datestamp = d3;
    expected.chargeScheduleState = "1";
    EXPECT_EQ(row(), textOf(expected));
}

TEST_F(FullWideRecord, eachSignalChangesItsOwnFieldAndNotTheDatestamp) {
    message(t2, "sbx_sense=+0");
    expected.signals = ",0,1,0,0";
    EXPECT_EQ(row(), textOf(expected));
    message(t2, "hud_multifunc=+1");
    expected.signals = ",0,1,1,0";
    EXPECT_EQ(row(), textOf(expected));
    message(t2, "ac_no_sense=+0");
    expected.signals = ",0,0,1,0";
    EXPECT_EQ(row(), textOf(expected));
    message(t2, "interlock=+7");
    expected.signals = ",0,0,1,1";
    EXPECT_EQ(row(), textOf(expected));
}

TEST_F(FullWideRecord, aMessageThatCarriesNothingChangesNothing) {
    for (const char* text :
         {"", "hello", "systemState=+", "chargeSchedule.state = ", "systemState=5",
          "chargeSchedule.state=IDLE", "sbx_sense=1", " interlock=+1", "power-mode=+17"}) {
        message(t2, text);
        EXPECT_EQ(row(), textOf(expected)) << text;
    }
}

TEST_F(WideRecord, aSignalAloneGivesNoDatestamp) {
    message(t1, "interlock=+1");
    EXPECT_TRUE(wide.datestamp.empty());
    EXPECT_EQ(row(), textOf({.signals = ",,,,1"}));
}

TEST_F(WideRecord, signalsThatAreIndeterminateAreEmptyFields) {
    message(t1, "ac_no_sense=+1");
    EXPECT_EQ(row(), textOf({.signals = ",,1,,"}));
    message(t1, "hud_multifunc=+0");
    EXPECT_EQ(row(), textOf({.signals = ",,1,0,"}));
}

TEST_F(WideRecord, statesCarryOverToTheRowWithTheirDatestamp) {
    message(t1, "systemState=+ST_RUN");
    EXPECT_EQ(row(), textOf({.datestamp = d1, .systemState = "ST_RUN"}));
    message(t2, "chargeSchedule.state = IDLE");
    EXPECT_EQ(row(),
              textOf({.datestamp = d2, .systemState = "ST_RUN", .chargeScheduleState = "IDLE"}));
}

TEST_F(WideRecord, theLatestDatestampCountsEvenIfItIsEarlier) {
    soc(t3, 1, 1);
    EXPECT_EQ(wide.datestamp, d3);
    powerMode(t1, 17);
    EXPECT_EQ(wide.datestamp, d1);
}

TEST_F(WideRecord, takingOverAMessageStartsNoPeriodInTheSynopsis) {
    synopsis.start("an interruption", Synopsis::unknown);
    synopsis.start("the beginning", Synopsis::charge);
    message(t1, "systemState=+ST_RUN");
    row();
    synopsis.dynamicInfo("later", 1, 1);
    std::ostringstream os;
    synopsis.write(os);
    EXPECT_EQ(os.str(), "the beginning,later,charge,1,1,1,1,1\n");
}

// =================================================================================================
// Firmware versions
// =================================================================================================

TEST_F(WideRecord, theBmuVersionIsTheFirstWordAndLeavesTheDatestampAlone) {
    bmuVersion("2.10 build 7");
    EXPECT_EQ(row(), textOf({.bmuVersion = "2.10"}));
    bmuVersion(" \t\n\v\f\r2.11\tx");
    EXPECT_EQ(row(), textOf({.bmuVersion = "2.11"}));
}

TEST_F(WideRecord, theLatestStaticInfoGivesTheBmuVersionWhateverItsModule) {
    bmuVersion("one", 1);
    bmuVersion("seven", 7);
    EXPECT_EQ(row(), textOf({.bmuVersion = "seven"})); // and no module was added
    bmuVersion("two", 2);
    EXPECT_EQ(row(), textOf({.bmuVersion = "two"}));
}

TEST_F(WideRecord, anEmptyOrBlankBmuVersionKeepsTheOneBefore) {
    bmuVersion("");
    EXPECT_EQ(row(), textOf(Row()));
    bmuVersion("2.10");
    for (const char* text : {"", " ", "\t\n\v\f\r "}) {
        bmuVersion(text);
        EXPECT_EQ(row(), textOf({.bmuVersion = "2.10"}));
    }
}

TEST_F(WideRecord, theBmcVersionIsTheThirdWordAndLeavesTheDatestampAlone) {
    bmcVersion("BMC version 3.1");
    EXPECT_EQ(row(), textOf({.bmcVersion = "3.1"}));
    bmcVersion("a b c,d e"); // a fourth word is not looked at; a comma ends no word
    EXPECT_EQ(row(), textOf({.bmcVersion = "c,d"}));
    bmcVersion("\n a\tb\v\f\r3.2\n");
    EXPECT_EQ(row(), textOf({.bmcVersion = "3.2"}));
}

TEST_F(WideRecord, aBmcVersionOfFewerThanThreeWordsKeepsTheOneBefore) {
    bmcVersion("BMC version");
    EXPECT_EQ(row(), textOf(Row()));
    bmcVersion("BMC version 3.1");
    for (const char* text : {"", " ", "one", "one two", " one  two \t\n"}) {
        bmcVersion(text);
        EXPECT_EQ(row(), textOf({.bmcVersion = "3.1"})) << text;
    }
}

// =================================================================================================
// Field writers
// =================================================================================================

TEST_F(WideRecord, writeTriStateWrites0Or1AndNothingForAllElse) {
    const auto written = [&](TriState value) {
        std::ostringstream os;
        wide.writeTriState(value, os);
        return os.str();
    };
    EXPECT_EQ(written(TriState::False), ",0");
    EXPECT_EQ(written(TriState::True), ",1");
    EXPECT_EQ(written(TriState::Indeterminate), ",");
    EXPECT_EQ(written(static_cast<TriState>(3)), ",");
}

TEST_F(WideRecord, writeFaultWritesTheBitSetInDecimal) {
    FaultDataRecord record;
    std::ostringstream os;
    wide.writeFault(record, os);
    record.error_register = 128;
    record.additional_information = 65535;
    wide.writeFault(record, os);
    EXPECT_EQ(os.str(), ",0,65535");
}

} // namespace
