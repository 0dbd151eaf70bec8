// Documents and helpers of the editor's widget tests.
#pragma once

#include "EditorWindow.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QTableView>
#include <QTest>

inline const QString SourceDir = QStringLiteral(KVT317_SOURCE_DIR);

// The example with AntennaPol of the first detail HOR and Threshold of the second 25, as
// the library writes it.
inline const QByteArray EditedExample =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<KVT317_Settings>\n"
    "  <KVT317SettingsDetail Name=\"VHF airband\" index=\"1\">\n"
    "    <AntennaPol>HOR</AntennaPol>\n"
    "    <AntPreAmp>ON</AntPreAmp>\n"
    "    <AverageMode>NORM</AverageMode>\n"
    "    <BandwidthDF>25.0 kHz</BandwidthDF>\n"
    "    <BlockAveragingTime>100</BlockAveragingTime>\n"
    "    <DF_Alt>CORRELATION</DF_Alt>\n"
    "    <FrequencyRange>\n"
    "      <StartFrequency>118000000.00</StartFrequency>\n"
    "      <StopFrequency>137000000.00</StopFrequency>\n"
    "    </FrequencyRange>\n"
    "    <Real_Time_Bandwidth>20 MHz</Real_Time_Bandwidth>\n"
    "    <ScanMemoryID>10</ScanMemoryID>\n"
    "    <DFPan_Selectivity>NARROW</DFPan_Selectivity>\n"
    "    <Threshold>10</Threshold>\n"
    "    <StopTime>2026-11-30T18:00:00,000Z</StopTime>\n"
    "    <AttSelect>AUTO</AttSelect>\n"
    "    <AttenuationHoldValue>12.50</AttenuationHoldValue>\n"
    "    <AttenuationHoldTime>250.00</AttenuationHoldTime>\n"
    "  </KVT317SettingsDetail>\n"
    "  <KVT317SettingsDetail Name=\"Marine VHF\" index=\"2\">\n"
    "    <AntennaPol>HOR</AntennaPol>\n"
    "    <AntPreAmp>ON</AntPreAmp>\n"
    "    <AverageMode>GATE</AverageMode>\n"
    "    <BandwidthDF>12.5 kHz</BandwidthDF>\n"
    "    <BlockAveragingTime>100</BlockAveragingTime>\n"
    "    <DF_Alt>WATSONWATT</DF_Alt>\n"
    "    <FrequencyRange>\n"
    "      <StartFrequency>156000000.00</StartFrequency>\n"
    "      <StopFrequency>162025000.00</StopFrequency>\n"
    "    </FrequencyRange>\n"
    "    <Real_Time_Bandwidth>10 MHz</Real_Time_Bandwidth>\n"
    "    <ScanMemoryID>20</ScanMemoryID>\n"
    "    <DFPan_Selectivity>NARROW</DFPan_Selectivity>\n"
    "    <Threshold>25</Threshold>\n"
    "    <StopTime>2026-11-30T18:00:00,000Z</StopTime>\n"
    "    <AttSelect>AUTO</AttSelect>\n"
    "    <AttenuationHoldValue>12.50</AttenuationHoldValue>\n"
    "    <AttenuationHoldTime>250.00</AttenuationHoldTime>\n"
    "  </KVT317SettingsDetail>\n"
    "  <KVT317SettingsDetail Name=\"UHF survey\" index=\"3\">\n"
    "    <AntennaPol>RIGHT</AntennaPol>\n"
    "    <AntPreAmp>ON</AntPreAmp>\n"
    "    <AverageMode>OFF</AverageMode>\n"
    "    <BandwidthDF>100 kHz</BandwidthDF>\n"
    "    <BlockAveragingTime>100</BlockAveragingTime>\n"
    "    <DF_Alt>SUPERRESOLUTION</DF_Alt>\n"
    "    <FrequencyRange>\n"
    "      <StartFrequency>400000000.00</StartFrequency>\n"
    "      <StopFrequency>470000000.00</StopFrequency>\n"
    "    </FrequencyRange>\n"
    "    <Real_Time_Bandwidth>80 MHz</Real_Time_Bandwidth>\n"
    "    <ScanMemoryID>30</ScanMemoryID>\n"
    "    <DFPan_Selectivity>NARROW</DFPan_Selectivity>\n"
    "    <Threshold>20</Threshold>\n"
    "    <StopTime>2026-11-30T18:00:00,000Z</StopTime>\n"
    "    <AttSelect>AUTO</AttSelect>\n"
    "    <AttenuationHoldValue>12.50</AttenuationHoldValue>\n"
    "    <AttenuationHoldTime>250.00</AttenuationHoldTime>\n"
    "  </KVT317SettingsDetail>\n"
    "</KVT317_Settings>\n";

// A document with an element the library does not know and a number that does not read.
inline const QByteArray Faulty = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<KVT317_Settings>\n"
                                 "  <KVT317SettingsDetail Name=\"VHF airband\" index=\"1\">\n"
                                 "    <AntennaPol>VERT</AntennaPol>\n"
                                 "    <AntPreAmp>ON</AntPreAmp>\n"
                                 "    <AverageMode>NORM</AverageMode>\n"
                                 "    <BandwidthDF>25.0 kHz</BandwidthDF>\n"
                                 "    <BlockAveragingTime>100</BlockAveragingTime>\n"
                                 "    <DF_Alt>CORRELATION</DF_Alt>\n"
                                 "    <FrequencyRange>\n"
                                 "      <StartFrequency>118000000.00</StartFrequency>\n"
                                 "      <StopFrequency>137000000.00</StopFrequency>\n"
                                 "    </FrequencyRange>\n"
                                 "    <Real_Time_Bandwidth>20 MHz</Real_Time_Bandwidth>\n"
                                 "    <ScanMemoryID>10</ScanMemoryID>\n"
                                 "    <Colour>blue</Colour>\n"
                                 "    <DFPan_Selectivity>NARROW</DFPan_Selectivity>\n"
                                 "    <Threshold>ten</Threshold>\n"
                                 "    <StopTime>2026-11-30T18:00:00,000Z</StopTime>\n"
                                 "    <AttSelect>AUTO</AttSelect>\n"
                                 "    <AttenuationHoldValue>12.50</AttenuationHoldValue>\n"
                                 "    <AttenuationHoldTime>250.00</AttenuationHoldTime>\n"
                                 "  </KVT317SettingsDetail>\n"
                                 "</KVT317_Settings>\n";

// kvt317's JSON form of one detail, with a key no record has.
inline const QByteArray JsonWithColour = "{\n"
                                         "  \"KVT317_Settings\": {\n"
                                         "    \"KVT317SettingsDetail\": [\n"
                                         "      {\n"
                                         "        \"Name\": \"VHF airband\",\n"
                                         "        \"index\": 1,\n"
                                         "        \"AntennaPol\": \"VERT\",\n"
                                         "        \"AntPreAmp\": \"ON\",\n"
                                         "        \"AverageMode\": \"NORM\",\n"
                                         "        \"BandwidthDF\": \"25.0 kHz\",\n"
                                         "        \"BlockAveragingTime\": 100,\n"
                                         "        \"DF_Alt\": \"CORRELATION\",\n"
                                         "        \"FrequencyRange\": {\n"
                                         "          \"StartFrequency\": 118000000.00,\n"
                                         "          \"StopFrequency\": 137000000.00\n"
                                         "        },\n"
                                         "        \"Real_Time_Bandwidth\": \"20 MHz\",\n"
                                         "        \"ScanMemoryID\": 10,\n"
                                         "        \"Colour\": \"blue\",\n"
                                         "        \"DFPan_Selectivity\": \"NARROW\",\n"
                                         "        \"Threshold\": 10,\n"
                                         "        \"StopTime\": \"2026-11-30T18:00:00,000Z\",\n"
                                         "        \"AttSelect\": \"AUTO\",\n"
                                         "        \"AttenuationHoldValue\": 12.50,\n"
                                         "        \"AttenuationHoldTime\": 250.00\n"
                                         "      }\n"
                                         "    ]\n"
                                         "  }\n"
                                         "}\n";

inline QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

inline bool WriteAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline int ColumnNamed(const QAbstractItemModel& model, const QString& name)
{
    for (int column = 0; column < model.columnCount(); ++column)
        if (model.headerData(column, Qt::Horizontal).toString() == name)
            return column;
    return -1;
}

// Shows the window and makes it the active one, so that editors keep the keyboard focus.
inline bool Show(EditorWindow& window)
{
    window.show();
    QApplication::setActiveWindow(&window);
    return QTest::qWaitForWindowActive(&window);
}

// Return in an editor: the delegate commits the value once the editor has taken the key.
inline void Commit(QWidget* editor)
{
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();
}

// Triggers the named action; false when there is none or it is disabled.
inline bool Trigger(EditorWindow& window, const char* name)
{
    QAction* action = window.findChild<QAction*>(QString::fromLatin1(name));
    if (!action || !action->isEnabled())
        return false;
    action->trigger();
    return true;
}

inline QString Shown(const QTableView& table, int row, const QString& member)
{
    const QAbstractItemModel& model = *table.model();
    return model.index(row, ColumnNamed(model, member)).data().toString();
}
