# Makes of the comment that a header begins with the description of the file. Lines keep their numbers.
FNR == 1 { inHead = 1 }
inHead && sub(/^\/\//, "///") { print; next }
inHead && /^#pragma once/ { print "/// @file"; inHead = 0; next }
{ inHead = 0; print }
