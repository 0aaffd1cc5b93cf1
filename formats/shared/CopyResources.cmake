# Copies the plug-in folder's resources (not the VST 2 binary) into the bundle.
file(GLOB resources ${FROM}/*.png ${FROM}/*.dlg ${FROM}/*.txt ${FROM}/*.fxb)
file(COPY ${resources} DESTINATION ${TO})
