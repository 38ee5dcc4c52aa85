# Completion of veskctl for fish: veskctl itself knows what there is.
complete -c veskctl -f -a '(veskctl --complete (commandline -opc)[2..-1] (commandline -ct) 2>/dev/null)'
