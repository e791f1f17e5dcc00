// The words of which names of a library are made, in English and German.
#pragma once

#include "kernel/base/types.h"

#include <string_view>

namespace talvo::bench {

/// What a thing is made of or where it belongs. German names are compounds of it and of a noun, so that no ending depends on a gender.
struct LibraryModifier {
    std::string_view english;
    std::string_view german;
};

inline constexpr LibraryModifier LIBRARY_MODIFIERS[] = {
    {"Wooden", "Holz"},    {"Oak", "Eichen"},     {"Stone", "Stein"},    {"Iron", "Eisen"},     {"Glass", "Glas"},
    {"Garden", "Garten"},  {"Forest", "Wald"},    {"Kitchen", "Küchen"}, {"City", "Stadt"},     {"Winter", "Winter"},
    {"Summer", "Sommer"},  {"Copper", "Kupfer"},  {"Golden", "Gold"},    {"Silver", "Silber"},  {"Toy", "Spielzeug"},
    {"Harbour", "Hafen"},  {"Mountain", "Berg"},  {"River", "Fluss"},    {"Night", "Nacht"},    {"Holiday", "Feiertags"},
    {"Paper", "Papier"},   {"Leather", "Leder"},  {"Marble", "Marmor"},  {"School", "Schul"},   {"Office", "Büro"},
    {"Farm", "Bauernhof"}, {"Palace", "Schloss"}, {"Bamboo", "Bambus"},  {"Concrete", "Beton"}, {"Wicker", "Korb"},
    {"Desert", "Wüsten"},  {"Factory", "Fabrik"},
};

struct LibraryNoun {
    std::string_view english;
    std::string_view german;
};

inline constexpr Int NOUNS_OF_A_GROUP = 6;

/// The top of the tree of categories, with what lies in each.
struct LibraryGroup {
    LibraryNoun name;
    LibraryNoun nouns[NOUNS_OF_A_GROUP];
};

inline constexpr LibraryGroup LIBRARY_GROUPS[] = {
    {{"Furniture", "Möbel"},
     {{"Chair", "Stuhl"}, {"Table", "Tisch"}, {"Lamp", "Lampe"}, {"Shelf", "Regal"}, {"Bench", "Bank"}, {"Bed", "Bett"}}},
    {{"Plants", "Pflanzen"},
     {{"Tree", "Baum"}, {"Flower", "Blume"}, {"Bush", "Busch"}, {"Grass", "Gras"}, {"Leaf", "Blatt"}, {"Moss", "Moos"}}},
    {{"Architecture", "Architektur"},
     {{"House", "Haus"}, {"Bridge", "Brücke"}, {"Tower", "Turm"}, {"Wall", "Mauer"}, {"Door", "Tür"}, {"Window", "Fenster"}}},
    {{"Vehicles", "Fahrzeuge"},
     {{"Car", "Auto"}, {"Train", "Zug"}, {"Boat", "Boot"}, {"Cart", "Wagen"}, {"Bicycle", "Fahrrad"}, {"Sledge", "Schlitten"}}},
    {{"Surfaces", "Oberflächen"},
     {{"Floor", "Boden"}, {"Brick", "Ziegel"}, {"Tile", "Fliese"}, {"Plate", "Platte"}, {"Path", "Weg"}, {"Fabric", "Stoff"}}},
    {{"Animals", "Tiere"},
     {{"Horse", "Pferd"}, {"Bird", "Vogel"}, {"Dog", "Hund"}, {"Cat", "Katze"}, {"Fish", "Fisch"}, {"Mouse", "Maus"}}},
    {{"Tools", "Werkzeuge"},
     {{"Hammer", "Hammer"},
      {"Saw", "Säge"},
      {"Brush", "Pinsel"},
      {"Knife", "Messer"},
      {"Ladder", "Leiter"},
      {"Key", "Schlüssel"}}},
    {{"Landscapes", "Landschaften"},
     {{"Hill", "Hügel"}, {"Lake", "See"}, {"Meadow", "Wiese"}, {"Cave", "Höhle"}, {"Beach", "Strand"}, {"Valley", "Tal"}}},
};

/// Kinds of files: what they are called and how often they occur.
struct LibraryFileKind {
    std::string_view suffix;
    std::string_view subtype;
    UInt weight;
};

inline constexpr LibraryFileKind LIBRARY_FILE_KINDS[] = {
    {"png", "net.talvo.asset.subtype.mediaimage", 30}, {"jpg", "net.talvo.asset.subtype.mediaimage", 20},
    {"exr", "net.talvo.asset.subtype.mediaimage", 10}, {"obj", "net.talvo.asset.subtype.object", 20},
    {"mp4", "net.talvo.asset.subtype.mediamovie", 10}, {"wav", "net.talvo.asset.subtype.file.wav", 5},
    {"pdf", "net.talvo.asset.subtype.file.pdf", 5},
};

}  // namespace talvo::bench
