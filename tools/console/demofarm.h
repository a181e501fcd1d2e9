#pragma once
// The demo farm: its users, render applications, projects and clients, and the writers of its
// configuration files (globalconfig.ini, clients.ini, clientgroups.ini, users7.dat) through the
// family's own code.

#include "tools/console/demorng.h"

#include <QList>
#include <QString>

#include <cstdint>

class __FM;

namespace fmDemo {

// 2024-11-01 00:00 and 2026-10-30 18:00 UTC: the two years the demo history covers.
inline constexpr int64_t kHistoryBegin = 1730419200;
inline constexpr int64_t kHistoryEnd = 1793383200;

struct DemoUser
{
    const char* Name;
    const char* Display;
    bool Supervisor;
};

inline constexpr DemoUser kUsers[] = {
    {"anna.berg", "Anna Berg", true},
    {"jonas.lund", "Jonas Lund", false},
    {"mika.sato", "Mika Sato", false},
    {"lucas.moreau", "Lucas Moreau", false},
    {"sofia.rossi", "Sofia Rossi", false},
    {"erik.dahl", "Erik Dahl", true},
    {"nora.haugen", "Nora Haugen", false},
    {"tom.fischer", "Tom Fischer", false},
    {"lea.novak", "Lea Novak", false},
    {"ben.carter", "Ben Carter", false},
    {"ida.strand", "Ida Strand", false},
    {"omar.haddad", "Omar Haddad", false},
    {"render.wrangler", "Render Wrangler", true},
};
inline constexpr int kUserCount = int(sizeof(kUsers) / sizeof(kUsers[0]));

struct DemoApp
{
    const char* Software;
    const char* Renderer;
    const char* Alias;
    int Version;
    int Minor;       // VersionMinor: three digits after the point
    const char* Dir; // folder of the scenes in the project
    const char* SceneExt;
    const char* ImageExt;
    int FrameSeconds; // typical render time of a 1080p frame on one node
    bool Gpu;
    int SceneOS; // the machine family the scenes come from
};

inline constexpr DemoApp kApps[] = {
    {"Maya", "Arnold", "maya2024", 2024, 200, "maya", ".ma", ".exr", 540, false, 2},
    {"Maya", "Redshift", "maya2024", 2024, 200, "maya", ".mb", ".exr", 150, true, 2},
    {"Houdini", "Karma", "houdini20", 20, 0, "houdini", ".hip", ".exr", 420, false, 2},
    {"Houdini", "Mantra", "houdini20", 20, 0, "houdini", ".hip", ".exr", 780, false, 2},
    {"Cinema 4D", "Redshift", "c4d2024", 2024, 400, "c4d", ".c4d", ".exr", 180, true, 3},
    {"Blender", "Cycles", "blender41", 4, 100, "blender", ".blend", ".png", 240, true, 2},
    {"3ds Max", "V-Ray", "max2024", 2024, 0, "max", ".max", ".exr", 660, false, 1},
    {"3ds Max", "Corona", "max2024", 2024, 0, "max", ".max", ".jpg", 900, false, 1},
    {"Nuke", "Nuke", "nuke15", 15, 10, "comp", ".nk", ".exr", 25, false, 2},
};
inline constexpr int kAppCount = int(sizeof(kApps) / sizeof(kApps[0]));

inline constexpr const char* kProjectNames[] = {
    "Aurora_Documentary",   "Brightwater_Trailer",  "Copperline_Series",  "Driftwood_Feature",
    "Emberfall_Cinematic",  "Frostgate_Commercial", "Glasshouse_Archviz", "Harbor_Lights_Short",
    "Ironwood_GameTrailer", "Juniper_Museum_VR",    "Kestrel_Automotive", "Lanterns_MusicVideo",
    "Meridian_Pilot",       "Northwind_Ident",      "Orchard_Product",    "Polaris_Feature",
};
inline constexpr int kProjectNameCount = int(sizeof(kProjectNames) / sizeof(kProjectNames[0]));

inline constexpr const char* kLayers[] = {"beauty", "chars",          "env_bg",  "fx_smoke", "fx_water",
                                          "crowd",  "shadow_catcher", "volumes", "holdout",  "ao"};
inline constexpr const char* kTasks[] = {"lighting", "lookdev", "fx", "comp", "layout", "anim"};

struct Resolution
{
    int W, H;
};
inline constexpr Resolution kResolutions[] = {
    {1920, 1080}, {2048, 858}, {3840, 2160}, {1998, 1080}, {1080, 1920}};

// A client of the demo farm: name, and what jobs need of it.
struct DemoClient
{
    QString Name;
    int Cores;
    int MHz;
    bool Gpu;
};

struct Farm
{
    QList<DemoClient> Clients;
};

void writeConfig(__FM& fm);
// Fills the client list of `fm` (not yet saved) and returns what jobs need to know of it.
Farm writeClients(__FM& fm, DemoRng& rng, int& clientCount);
bool writeClientGroups(__FM& fm, const Farm& farm);
bool writeUsers(__FM& fm);

} // namespace fmDemo
