# Makes of the comment that a header begins with the description of the file, and puts what a header of the host declares
# into the group of its library (groups.dox). Lines keep their numbers.
FNR == 1 {
  inHead = 1
  group = FILENAME ~ /\/rbaselib\// ? "host_rbaselib" : FILENAME ~ /\/rgl\// ? "host_rgl" : FILENAME ~ /\/Cg\// ? "host_cg" : ""
}
inHead && sub(/^\/\//, "///") { print; next }
inHead && /^#pragma once/ { print "/// @file"; inHead = 0; next }
{ inHead = 0 }
group != "" {
  # A description at the margin belongs to a declaration outside of classes, and its first line tells the group.
  if (/^\/\/\/ / && !wasDescription) sub(/^\/\/\/ /, "/// @into{" group "}")
  wasDescription = /^\/\/\//
}
{ print }
