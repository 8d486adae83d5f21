R="build/asan/bin/rix"; export ASAN_OPTIONS=detect_leaks=0
$R run FourierTransform2d inputImage=examples/images/gravel.png layout=FULL origin=CENTER outputImage=/tmp/fq/s.tif && $R info /tmp/fq/s.tif
$R describe UnaryFunction | head -24; $R describe ConvertImage | head -20
$R run UnaryFunction inputImage=/tmp/fq/s.tif function=ABSOLUTE outputImage=/tmp/fq/a.tif
$R render --help | head -40
