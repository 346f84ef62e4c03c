# Completion of tarnel for bash. Made by tools/update-shell-files; do not edit.
_tarnel_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word"); }

_tarnel_files() {
    compopt -o filenames 2>/dev/null # names with spaces are quoted
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

_tarnel() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb= i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        if [[ ${COMP_WORDS[i]} != -* ]]; then
            verb=${COMP_WORDS[i]}
            break
        fi
    done
    # The value of an option.
    case $verb:$before in
        sample:--points | sample:--seed | sample:--pano-width) return ;;
        sample:--format) _tarnel_words "octree ept-binary ept-zstandard copc"; return ;;
        sample:--encoding) _tarnel_words "brotli default"; return ;;
        pano-tile:--tile | pano-tile:--depth-scale | pano-tile:--no-depth | pano-tile:--pose) return ;;
        info:--header | info:--proxy | info:--ca-file | info:--cache-size) return ;;
        info:--cache) _tarnel_files; return ;;
        stats:--max-level | stats:--cell | stats:--box | stats:--oriented-box | stats:--sphere | stats:--z | stats:--clip | stats:--planes | stats:--classification | stats:--classes | stats:--intensity | stats:--returns | stats:--every | stats:--header | stats:--proxy | stats:--ca-file | stats:--cache-size) return ;;
        stats:--density | stats:--polygon | stats:--cache) _tarnel_files; return ;;
        dump:--node | dump:--limit | dump:--header | dump:--proxy | dump:--ca-file | dump:--cache-size) return ;;
        dump:--cache) _tarnel_files; return ;;
        thumbnail:--output | thumbnail:--cache) _tarnel_files; return ;;
        thumbnail:--size | thumbnail:--max-level | thumbnail:--class-name | thumbnail:--adapter | thumbnail:--width | thumbnail:--height | thumbnail:--level | thumbnail:--intensity-range | thumbnail:--class-color | thumbnail:--opacity | thumbnail:--background | thumbnail:--unit | thumbnail:--edl-radius | thumbnail:--header | thumbnail:--proxy | thumbnail:--ca-file | thumbnail:--cache-size) return ;;
        thumbnail:--color-by) _tarnel_words "rgb intensity class scan height"; return ;;
        thumbnail:--color-map) _tarnel_words "Turbo Inferno Magma Viridis Plasma Gray Bone BlueWhiteRed LevelOfAccuracy"; return ;;
        thumbnail:--samples) _tarnel_words "1 2 4"; return ;;
        render:--depth | render:--cloud | render:--pano | render:--mesh | render:--cache) _tarnel_files; return ;;
        render:--adapter | render:--frames | render:--class-name | render:--unit-scale | render:--transform | render:--eye | render:--target | render:--up | render:--azimuth | render:--elevation | render:--distance | render:--fit | render:--section | render:--fov | render:--size | render:--intensity-range | render:--class-color | render:--colorize-from | render:--colorize-to | render:--brightness | render:--contrast | render:--auto-contrast | render:--opacity | render:--background | render:--uniform-color | render:--threshold | render:--budget | render:--min-level | render:--max-level | render:--point-size | render:--max-point-size | render:--max-point-share | render:--clip | render:--classes | render:--hide-classes | render:--intensity | render:--scans | render:--hide-scans | render:--unit | render:--edl-radius | render:--header | render:--proxy | render:--ca-file | render:--cache-size) return ;;
        render:--view) _tarnel_words "top bottom north south east west iso"; return ;;
        render:--mode) _tarnel_words "Default TomographicDark TomographicBright ColorizeByNormal ColorizeByPlaneDistance ColorizeByIntensity UniformColor"; return ;;
        render:--color-by) _tarnel_words "rgb intensity class scan height"; return ;;
        render:--color-map) _tarnel_words "Turbo Inferno Magma Viridis Plasma Gray Bone BlueWhiteRed LevelOfAccuracy"; return ;;
        render:--samples) _tarnel_words "1 2 4"; return ;;
        pick:--pixel | pick:--tolerance | pick:--plane-threshold | pick:--adapter | pick:--class-name | pick:--threshold | pick:--eye | pick:--target | pick:--up | pick:--azimuth | pick:--elevation | pick:--distance | pick:--fit | pick:--section | pick:--fov | pick:--size | pick:--budget | pick:--min-level | pick:--max-level | pick:--point-size | pick:--max-point-size | pick:--max-point-share | pick:--clip | pick:--classes | pick:--hide-classes | pick:--intensity | pick:--scans | pick:--hide-scans | pick:--header | pick:--proxy | pick:--ca-file | pick:--cache-size) return ;;
        pick:--view) _tarnel_words "top bottom north south east west iso"; return ;;
        pick:--cache) _tarnel_files; return ;;
        export-visible:--depth | export-visible:--cloud | export-visible:--pano | export-visible:--mesh | export-visible:--cache) _tarnel_files; return ;;
        export-visible:--adapter | export-visible:--unit-scale | export-visible:--transform | export-visible:--eye | export-visible:--target | export-visible:--up | export-visible:--azimuth | export-visible:--elevation | export-visible:--distance | export-visible:--fit | export-visible:--section | export-visible:--fov | export-visible:--size | export-visible:--intensity-range | export-visible:--class-color | export-visible:--colorize-from | export-visible:--colorize-to | export-visible:--brightness | export-visible:--contrast | export-visible:--auto-contrast | export-visible:--opacity | export-visible:--background | export-visible:--uniform-color | export-visible:--threshold | export-visible:--budget | export-visible:--min-level | export-visible:--max-level | export-visible:--point-size | export-visible:--max-point-size | export-visible:--max-point-share | export-visible:--clip | export-visible:--classes | export-visible:--hide-classes | export-visible:--intensity | export-visible:--scans | export-visible:--hide-scans | export-visible:--header | export-visible:--proxy | export-visible:--ca-file | export-visible:--cache-size) return ;;
        export-visible:--view) _tarnel_words "top bottom north south east west iso"; return ;;
        export-visible:--mode) _tarnel_words "Default TomographicDark TomographicBright ColorizeByNormal ColorizeByPlaneDistance ColorizeByIntensity UniformColor"; return ;;
        export-visible:--color-by) _tarnel_words "rgb intensity class scan height"; return ;;
        export-visible:--color-map) _tarnel_words "Turbo Inferno Magma Viridis Plasma Gray Bone BlueWhiteRed LevelOfAccuracy"; return ;;
        query:--max-level | query:--min-spacing | query:--timeout | query:--box | query:--oriented-box | query:--sphere | query:--z | query:--clip | query:--planes | query:--classification | query:--classes | query:--intensity | query:--returns | query:--every | query:--header | query:--proxy | query:--ca-file | query:--cache-size) return ;;
        query:--output | query:--polygon | query:--cache) _tarnel_files; return ;;
    esac
    case $verb:$word in
        :-*) _tarnel_words "-h --help --version" ;;
        :*) _tarnel_words "sample pano-tile info stats dump thumbnail render pick export-visible query devices" ;;
        sample:-*) _tarnel_words "-h --help --points --seed --format --encoding --cloud-only --pano-width" ;;
        sample:*) _tarnel_files ;;
        pano-tile:-*) _tarnel_words "-h --help --tile --depth-scale --no-depth --pose" ;;
        pano-tile:*) _tarnel_files ;;
        info:-*) _tarnel_words "-h --help --json --header --proxy --ca-file --cache --cache-size" ;;
        info:*) _tarnel_files ;;
        stats:-*) _tarnel_words "-h --help --max-level --cell --density --json --box --oriented-box --sphere --polygon --z --clip --planes --classification --classes --intensity --returns --every --header --proxy --ca-file --cache --cache-size" ;;
        stats:*) _tarnel_files ;;
        dump:-*) _tarnel_words "-h --help --node --all --limit --header --proxy --ca-file --cache --cache-size" ;;
        dump:*) _tarnel_files ;;
        thumbnail:-*) _tarnel_words "-h --help --output --size --max-level --class-name --adapter --width --height --level --color-by --color-map --intensity-range --class-color --opacity --background --legend --unit --samples --edl --no-edl --edl-radius --header --proxy --ca-file --cache --cache-size" ;;
        thumbnail:*) _tarnel_files ;;
        render:-*) _tarnel_words "-h --help --depth --adapter --orbit --frames --class-name --cloud --pano --mesh --unit-scale --transform --eye --target --up --view --azimuth --elevation --distance --fit --section --fov --ortho --size --mode --color-by --color-map --intensity-range --class-color --colorize-from --colorize-to --brightness --contrast --auto-contrast --opacity --background --uniform-color --threshold --budget --min-level --max-level --point-size --max-point-size --max-point-share --clip --classes --hide-classes --intensity --scans --hide-scans --boxes --legend --unit --samples --edl --no-edl --edl-radius --header --proxy --ca-file --cache --cache-size" ;;
        render:*) _tarnel_files ;;
        pick:-*) _tarnel_words "-h --help --pixel --tolerance --plane --plane-threshold --json --adapter --class-name --threshold --eye --target --up --view --azimuth --elevation --distance --fit --section --fov --ortho --size --budget --min-level --max-level --point-size --max-point-size --max-point-share --clip --classes --hide-classes --intensity --scans --hide-scans --boxes --header --proxy --ca-file --cache --cache-size" ;;
        pick:*) _tarnel_files ;;
        export-visible:-*) _tarnel_words "-h --help --absolute --depth --adapter --cloud --pano --mesh --unit-scale --transform --eye --target --up --view --azimuth --elevation --distance --fit --section --fov --ortho --size --mode --color-by --color-map --intensity-range --class-color --colorize-from --colorize-to --brightness --contrast --auto-contrast --opacity --background --uniform-color --threshold --budget --min-level --max-level --point-size --max-point-size --max-point-share --clip --classes --hide-classes --intensity --scans --hide-scans --boxes --header --proxy --ca-file --cache --cache-size" ;;
        export-visible:*) _tarnel_files ;;
        query:-*) _tarnel_words "-h --help --max-level --min-spacing --timeout --output --local --box --oriented-box --sphere --polygon --z --clip --planes --classification --classes --intensity --returns --every --header --proxy --ca-file --cache --cache-size" ;;
        query:*) _tarnel_files ;;
        devices:-*) _tarnel_words "-h --help" ;;
    esac
}
complete -F _tarnel tarnel
