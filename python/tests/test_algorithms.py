"""Everything that comes from the registry: classes, functions, choices, values, refusals."""

import enum
import inspect
import pickle

import numpy as np
import pytest

import rix
from support import NAMES, SANITIZED, as_arrays, example_inputs, random_array

GREATER = rix.ThresholdingByCriterion.CriterionType.GREATER_THAN


def test_registry_is_complete():
    assert len(NAMES) == len(set(NAMES)) >= 15
    for entry in rix.list():
        assert entry.name in dir(rix) and entry.function in dir(rix)
        assert entry.summary.endswith(".") and entry.area


@pytest.mark.parametrize("name", NAMES[::4] if SANITIZED else NAMES)
def test_class_and_function_agree(name):
    facts = rix.describe(name)
    made, function = getattr(rix, name), getattr(rix, facts["function"])
    assert rix.describe(made) == rix.describe(function) == facts
    assert facts["summary"] in made.__doc__ and facts["summary"] in function.__doc__
    parameters = inspect.signature(function).parameters
    for item in facts["properties"]:
        assert inspect.getdoc(getattr(made, item["name"]))
        if item["direction"] != "out":
            assert (parameters[item["name"]].default is inspect.Parameter.empty) == item["required"]
            # What the rules refuse is told as required, not as a default.
            assert ("\nrequired" in inspect.getdoc(getattr(made, item["name"]))) == item["required"]
            assert not item["required"] or inspect.signature(made).parameters[item["name"]].default is None
    inputs = example_inputs(name)
    expected = function(**inputs)
    algorithm = made(**inputs)
    for _ in range(2):  # an object runs any number of times
        results = algorithm.run()
        for got, wanted in zip(as_arrays(results), as_arrays(expected), strict=True):
            np.testing.assert_array_equal(got, wanted)
    for item in facts["properties"]:
        value = getattr(algorithm, item["name"])
        if item["name"] in inputs and item["role"] == "image":
            assert value is inputs[item["name"]]
        elif item["direction"] == "out":
            assert value is not None
    # Binary images are arrays of bool, whose bytes can be nothing but 0 and 1.
    for array in as_arrays(expected):
        if array.dtype == bool:
            assert array.view(np.uint8).max(initial=0) <= 1


@pytest.mark.parametrize("name", NAMES)
def test_choices_are_enumerations(name):
    algorithm = getattr(rix, name)()
    for item in rix.describe(name)["properties"]:
        kind = item["enumeration"]
        if kind is None:
            continue
        assert issubclass(kind, enum.IntEnum) and getattr(type(algorithm), kind.__name__) is kind
        for member in kind:
            for given in (member, int(member), member.name):
                setattr(algorithm, item["name"], given)
                assert getattr(algorithm, item["name"]) is member
        for wrong in ("NO_SUCH_LABEL", 99, "0", -(2**40)):
            with pytest.raises(rix.RuleError, match=next(iter(kind)).name):
                setattr(algorithm, item["name"], wrong)
        for wrong in (1.0, None.__class__, rix.Interpretation.LABEL):
            with pytest.raises(rix.DataTypeError, match=kind.__name__):
                setattr(algorithm, item["name"], wrong)


def test_yes_and_no_are_python_s():
    box = rix.BoxFilter2d(auto_scale=True)
    assert box.auto_scale.name == "YES"
    box.auto_scale = False
    assert box.auto_scale.name == "NO"
    with pytest.raises(rix.DataTypeError):
        rix.Labeling2d(neighborhood=True)


def test_values():
    threshold = rix.AutoThresholdingBright(intensity_input_range=np.array([3, 7.5]))
    assert threshold.intensity_input_range == (3.0, 7.5)
    assert "intensity_input_range=(3.0, 7.5)" in repr(threshold)
    box = rix.BoxFilter2d(kernel_size_x=np.uint8(5))
    assert box.kernel_size_x == 5
    for name, wrong, error in [("kernel_size_x", 2.5, TypeError), ("kernel_size_x", "3", TypeError),
                               ("kernel_size_x", 2**31, ValueError)]:
        with pytest.raises(error, match="BoxFilter2d.kernel_size_x"):
            setattr(box, name, wrong)
    for wrong, error in [((1, 2, 3), ValueError), (4, TypeError), ("ab", TypeError), ((1, "x"), TypeError)]:
        with pytest.raises(error, match="AutoThresholdingBright.intensity_input_range"):
            threshold.intensity_input_range = wrong
    assert threshold.intensity_input_range == (3.0, 7.5)


def test_misspelt_names():
    with pytest.raises(AttributeError, match="Did you mean: 'box_filter_2d'"):
        rix.box_filter2d
    with pytest.raises(AttributeError):
        rix.BoxFilter2d().kernel_size_q = 3  # a typing error must not make a new attribute
    with pytest.raises(rix.RuleError, match="did you mean 'kernel_size_x'"):
        rix.BoxFilter2d(kernel_siz_x=3)
    with pytest.raises(rix.RuleError, match="NoSuchClass"):
        rix.describe("NoSuchClass")
    image = random_array(np.uint8)
    for call, meant in [(lambda: rix.box_filter_2d(image, 3, 3, kernel=4), "has no argument 'kernel'; did you mean 'kernel_"),
                        (lambda: rix.gaussian_filter_2d(sigma=2), "no argument 'sigma'; did you mean 'standard_deviation_x'"),
                        (lambda: rix.gaussian_filter_2d(image=image), "did you mean 'input_image'"),
                        (lambda: rix.gaussian_filter_2d(image, output=image), "did you mean 'out'"),
                        (lambda: rix.labeling_2d(image, qqqq=1), "it has input_object_image, .*progress"),
                        (lambda: rix.gaussian_filter_2d(), "gaussian_filter_2d.. needs input_image"),
                        (lambda: rix.gaussian_filter_2d(image, standard_deviation_x="2"), "a number is accepted")]:
        with pytest.raises(TypeError, match=meant):
            call()
    for call in (lambda: rix.GaussianFilter2d().sigma, lambda: setattr(rix.GaussianFilter2d(), "sigma", 2)):
        with pytest.raises(AttributeError, match="did you mean 'standard_deviation_x'"):
            call()
    with pytest.raises(AttributeError, match="setter"):
        rix.LabelAnalysis().output_measurement = None  # a right name, but nothing to be set

    class Noted(rix.BoxFilter2d):  # what others derive may have attributes of its own
        pass

    noted = Noted()
    noted.sigma = 2
    assert noted.sigma == 2 and list(inspect.signature(rix.labeling_2d).parameters)[0] == "input_object_image"


def test_errors_belong_to_a_family_and_keep_the_whole_text():
    image = random_array(np.uint8)
    with pytest.raises(ValueError) as refused:
        rix.box_filter_2d(image, 0, 3)
    error = refused.value
    assert isinstance(error, rix.RuleError) and isinstance(error, rix.Error)
    assert "BoxFilter2d" in error.levels[0] and "strictly positive" in error.levels[-1]
    assert all(level in str(error) for level in error.levels)
    cases = [(lambda: rix.labeling_2d([[1, 2]]), TypeError, "list"),
             (lambda: rix.box_filter_2d(image, 3, 3, threads=0), ValueError, "threads=0"),
             (lambda: rix.mask_image(image, image[:5]), ValueError, "size"),
             (lambda: rix.labeling_2d(image.astype(np.float32)), ValueError, "inputObjectImage"),
             (lambda: rix.imread("no/such.png"), OSError, "no/such.png"),
             (lambda: rix.auto_thresholding_value(np.zeros((4, 4), np.uint8)), RuntimeError, "AutoThresholdingValue"),
             (lambda: rix.Labeling2d().run(), ValueError, "must be set")]
    for call, kind, text in cases:
        with pytest.raises(kind, match=text) as raised:
            call()
        assert isinstance(raised.value, rix.Error)


def test_pickles():
    def again(value):
        return pickle.loads(pickle.dumps(value))

    assert again(GREATER) is GREATER and again(rix.RuleError("text")).args == ("text",)
    image = rix.Image(random_array(np.uint8), spacing=(1, 2), spatial_unit="mm")
    result = again(rix.auto_thresholding_bright(image))
    assert type(result) is rix.AutoThresholdingBrightResult
    assert result.output_binary_image.calibration == image.calibration
    assert result.output_binary_image.array.dtype == bool and result.output_measurement["threshold"].shape == (1,)
    assert set(result.output_measurement.units) == set(result.output_measurement)


def test_help_speaks_python():
    function, made = rix.auto_thresholding_bright.__doc__, rix.AutoThresholdingBright
    assert "when range_mode is OTHER" in function and "rangeMode" not in function
    assert inspect.getdoc(rix.BoxFilter2d.output_image).splitlines() == [
        "The sums, in a type that holds them where there is one, or the means in the input's.", "type: output image",
        "rules: takes shape and calibration of input_image with a data type that follows from the inputs as a value image"]
    assert "must have the size of input_image_1" in str(rix.describe("arithmetic_operation_with_image"))
    for text in (function, made.run.__doc__):  # options stand at the margin, their texts four blanks inside
        assert "\naxes\n    The axes of" in text and "it\n    speaks for arrays" in text
    assert list(inspect.signature(made).parameters)[:2] == ["input_gray_image", "range_mode"]


def test_several_results_have_names():
    result = rix.auto_thresholding_bright(random_array(np.uint8), threshold_criterion="MOMENTS")
    assert result._fields == ("output_binary_image", "output_measurement")
    binary, measurement = result
    assert binary is result.output_binary_image and measurement["threshold"].shape == (1,)
