# Imported by bitbake together with the layer's configuration.
BBIMPORTS = ["firmware"]
