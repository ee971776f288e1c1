# Plain comments of the headers as comments of Doxygen: the first one of a file describes the file, one behind an
# entity describes that entity.
1s,^// (.*),/// @file\n/// \1,
1s,^/\* ,/** @file\n * ,
s,^( *)//( |$),\1///\2,
s,^( *)/\* ,\1/** ,
s,([;\,{] +)// ,\1///< ,
# Links within the guide, whose anchors Doxygen makes up by another rule.
s,\[([^]]*)\]\(#[^)]*\),\1,g
