#pragma once
// Values that the tree models hand to the item delegate through custom item data roles.

#include <QMetaType>
#include <QString>

#include <cstdint>

namespace fmtvRole {
// Custom item data roles shared by the tree models and fmTreeViewItemDelegate.
constexpr int BGbars = 32;          // fmtvBGbars: a bar graph in the cell's background
constexpr int TopLineColor = 33;    // QColor of the cell's left edge line (alpha 0: no line)
constexpr int BottomLineColor = 34; // QColor of the cell's top edge line
constexpr int Shading = 35;         // fmtvShading
} // namespace fmtvRole

// One flag word: bit 1 draws the shading at all, bit 2 marks an end node's cell, bit 4 a group's.
struct fmtvShading
{
    uint32_t Flags = 1;

    static constexpr uint32_t Draw = 1;
    static constexpr uint32_t EndNode = 2;
    static constexpr uint32_t GroupNode = 4;
};

// What the delegate paints in a cell's background. Mode 0: Values are ARGB colours, one strip per
// item. Mode 1: triples (percent, colour up to it, colour of the rest). Mode 2: up to 4 counts as
// proportional strips with numbers. Mode 3: two percents and three colours.
struct fmtvBGbars
{
    static constexpr int MaxValues = 750;

    unsigned long long Values[MaxValues];
    int Count = 0;
    int Mode = 0;
    QString Name; // names the cell, for diagnosis only

    fmtvBGbars() : Values{} {}
};

Q_DECLARE_METATYPE(fmtvShading)
Q_DECLARE_METATYPE(fmtvBGbars)
