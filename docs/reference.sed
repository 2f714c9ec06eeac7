# What Doxygen reads of a public header. The block that it begins with becomes the page of the file. In sentences (code is
# indented) a backslash is a backslash and <this> is no tag. The line numbers stay.
1,/^#ifndef/ {
    s,^//$,///,
    s,^// ,/// ,
    1s,^/// \([a-z0-9_]*\.h\): ,/// @file \1 @brief ,
}
/^ *\/\/\/ \{0,3\}[^ ]/ {
    s,\\,\\\\,g
    s, <\([a-z]*\)>, "\1",g
    s,[A-Za-z]*<[a-z]*>::[A-Za-z]*,`&`,g
}
/^ *\/\/\/ \{4\}/s,\\\([a-z]\{3\}\),\\\\\1,g
# The promises at the head of a header, one a line.
1,/^#ifndef/s,^/// \(Value\|Threads\|Failure\|Cost\)  *,/// <br><b>\1</b> ,
# The one specialisation in another namespace, which Doxygen does not follow.
/^template <>$/ {
    N
    /std::hash/ {
        :more
        N
        /};/!b more
        s/[^\n]*//g
    }
}
