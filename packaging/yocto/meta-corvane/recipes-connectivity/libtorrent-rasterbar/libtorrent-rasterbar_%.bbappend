# corvane-common-native compiles one of its headers.
BBCLASSEXTEND += "native"
PACKAGECONFIG:class-native = ""
