#pragma once

#include <string>

// The fixed texts of the CSV files, written out so that tests compare whole files.

inline const std::string dynamicInfoColumns =
    "module,packVoltage (V),current (A),soc (%),dsoc (%),"
    "cellRow[1] (V),cellRow[2] (V),cellRow[3] (V),cellRow[4] (V),cellRow[5] (V),cellRow[6] (V),"
    "cellRow[7] (V),imbalance,cellTemperature[0] (C),heat,balance";
inline const std::string advancedSocColumns =
    "module,totalCharge (mAH),totalDischarge (mAH),dsoc,soh";

// The header lines of the files that collect the rows of all logs.
inline const std::string dynamicInfoHeader = "Datestamp," + dynamicInfoColumns + "\n";
inline const std::string socHeader = "Datestamp," + advancedSocColumns + "\n";
inline const std::string wideHeader =
    "Datestamp," + dynamicInfoColumns + "," + dynamicInfoColumns + "," + advancedSocColumns + "," +
    advancedSocColumns +
    ",power-mode,General Faults,Current Faults,Voltage Faults,Temperature Faults,"
    "Communication Faults,FeatureFaults,System State,Charge Schedule State,SBX Sense,AC Present,"
    "Button,Interlock,BMC FW,BMU FW\n";
inline const std::string synopsisHeader =
    "startDate,endDate,direction,loSoc,hiSoc,loDsoc,hiDsoc,transportedCharge\n";

// Some header lines of the detail files, which precede each block of records of one type.
inline const std::string messageHeader = "Datestamp,message\n";
inline const std::string powerModeHeader = "Datestamp,power-mode\n";
inline const std::string unknownHeader = "Datestamp,Unknown record type ...\n";

/// A row of "wide.csv", each group of fields with its leading commas. A group is by default what
/// the row holds before a record has told more. Modules other than 1 and 2 stand after those in
/// their group.
struct WideRow {
    std::string datestamp;
    std::string dynamicInfo1 = std::string(16, ',');
    std::string dynamicInfo2 = std::string(16, ',');
    std::string soc1 = std::string(5, ',');
    std::string soc2 = std::string(5, ',');
    std::string powerMode = ",normal";
    std::string faults = ",0,0,0,0,0,0"; // general, current, voltage, temperature, communication,
                                         // feature
    std::string states = ",,";           // system state, charge schedule state
    std::string signals = ",,,,";        // SBX sense, AC present, button, interlock
    std::string firmware = ",,";         // BMC, BMU

    std::string line() const {
        return datestamp + dynamicInfo1 + dynamicInfo2 + soc1 + soc2 + powerMode + faults + states +
               signals + firmware + "\n";
    }
};
