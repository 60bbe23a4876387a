/* The library's paths ("C:/Users/ann"), the system's ("C:\Users\ann"), and names made of them. */
#pragma once

#include <string>
#include <string_view>

namespace window {

/* The last component of a path: all of it when there is no "/". */
std::string_view name_of(std::string_view path);

/* What comes before the name, without the separator: "C:/Users", but "C:/" for what lies in the
   root. */
std::string_view folder_of(std::string_view path);

/* ".txt", "" when there is none: the part of a name from its last dot on. */
std::string_view extension_of(std::string_view name);

/* With "\" in place of "/": what the system's programs and boxes show and take. */
std::string native_path(std::string_view path);

/* The text as the library matches it: "\" means "/", which is no letter of any name. */
std::string query_text(std::string_view typed);

/* A scope in one form: "/" as separator, a capital drive letter, none at the end but in a root.
   Two forms of one folder would be two scopes, with a cache each. */
std::string normal_scope(std::string_view folder);

/* The file name of a scope's cache: readable, safe in every file system, and another one for every
   scope: "all-drives.index", "c-users-ann-0123456789abcdef.index". */
std::string cache_file_name(std::string_view scope);

/* "All local drives", or the folder as the system writes it. */
std::string scope_label(std::string_view scope);

}  // namespace window
