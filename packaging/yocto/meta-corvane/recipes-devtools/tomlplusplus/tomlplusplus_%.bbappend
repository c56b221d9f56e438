# firmware-pack is built for the build machine, too.
BBCLASSEXTEND += "native"
