# python/tests/test_task.py: the objects over env and task: lifetimes, errors with their codes,
# parameters, the log, files, and the solution arrays against the problem they solve.
# SPDX-License-Identifier: Apache-2.0
import numpy as np
import pytest

import velor


def transport(task):
    """The example's problem loaded from arrays (rows: two supplies <=, three demands >=)."""
    A = np.array([[1, 1, 1, 0, 0, 0], [0, 0, 0, 1, 1, 1], [1, 0, 0, 1, 0, 0],
                  [0, 1, 0, 0, 1, 0], [0, 0, 1, 0, 0, 1]], dtype=float)
    inf = np.inf
    task.load_lp([4, 6, 9, 5, 3, 7], A, [-inf, -inf, 15, 20, 18], [30, 25, inf, inf, inf],
                 np.zeros(6), [inf, inf, 10, inf, inf, inf])
    return A


class TestLifetime:
    def test_closed_task_and_env_refuse_calls(self):
        with velor.Env() as env:
            with env.task() as task:
                task.params["VLR_IPAR_LOG"] = 0
            with pytest.raises(velor.VelorError) as e:
                task.params["VLR_IPAR_LOG"] = 0
            assert e.value.name == "VLR_RES_ERR_NULL_TASK"
            task.close()  # a second close does nothing
        with pytest.raises(velor.VelorError):
            env.task()

    def test_env_refuses_to_close_under_a_living_task(self):
        env = velor.Env()
        task = env.task()
        with pytest.raises(velor.VelorError):
            env.close()
        task.close()
        env.close()


class TestErrors:
    def test_missing_file_carries_code_name_and_message(self, tmp_path):
        with velor.Task() as task:
            with pytest.raises(velor.VelorError) as e:
                task.read(tmp_path / "missing.mps")
        assert e.value.code == velor.const("VLR_RES_ERR_FILE_OPEN")
        assert e.value.name == "VLR_RES_ERR_FILE_OPEN"
        assert "missing.mps" in e.value.message

    def test_bad_mps_and_bad_parameters(self, tmp_path):
        bad = tmp_path / "bad.mps"
        bad.write_text("NAME bad\nROWS\n N obj\n L r1\nCOLUMNS\n x r1 notanumber\nENDATA\n")
        with velor.Task() as task:
            with pytest.raises(velor.VelorError) as e:
                task.read(bad)
            assert e.value.name.startswith("VLR_RES_ERR_MPS_")
            with pytest.raises(velor.VelorError) as e:
                task.params["VLR_IPAR_NO_SUCH_PARAMETER"] = 1
            assert e.value.name == "VLR_RES_ERR_PARAM_NAME"
            with pytest.raises(velor.VelorError):
                task.params["VLR_IPAR_OPTIMIZER"] = 99  # beyond its limits
            with pytest.raises(velor.VelorError):
                task.params["VLR_IPAR_OPTIMIZER"] = "VLR_NO_SUCH_VALUE"
            with pytest.raises(TypeError):
                task.params["VLR_DPAR_OPTIMIZER_MAX_TIME"] = [1.0]

    def test_refused_optimisers_and_problems_raise_their_codes(self, example):
        with velor.Task() as task:
            task.read(example)
            task.params["VLR_IPAR_OPTIMIZER"] = "VLR_OPTIMIZER_CONIC"
            with pytest.raises(velor.VelorError) as e:
                task.optimize()
            assert e.value.name == "VLR_RES_ERR_INV_OPTIMIZER"
        with pytest.raises(velor.VelorError) as e:
            velor.linprog([1, 1], A_ub=[[-1, -1]], b_ub=[-1], method="conic")
        assert e.value.name == "VLR_RES_ERR_INV_OPTIMIZER"


class TestParams:
    def test_values_by_name_round_trip_and_through_a_file(self, tmp_path):
        with velor.Task() as task:
            task.params["VLR_IPAR_OPTIMIZER"] = "VLR_OPTIMIZER_PRIMAL_SIMPLEX"
            task.params["VLR_IPAR_SIM_MAX_ITERATIONS"] = 1234
            task.params["VLR_DPAR_OPTIMIZER_MAX_TIME"] = 2.5
            task.params["VLR_SPAR_DATA_FILE_NAME"] = "model.lp"
            task.params["VLR_IPAR_LOG"] = False
            assert task.params["VLR_IPAR_OPTIMIZER"] == velor.const("VLR_OPTIMIZER_PRIMAL_SIMPLEX")
            assert task.params["VLR_IPAR_SIM_MAX_ITERATIONS"] == 1234
            assert task.params["VLR_DPAR_OPTIMIZER_MAX_TIME"] == 2.5
            assert task.params["VLR_SPAR_DATA_FILE_NAME"] == "model.lp"
            assert task.params["VLR_IPAR_LOG"] == 0
            task.write_params(tmp_path / "p.par")
        with velor.Task() as task:
            task.read_params(tmp_path / "p.par")
            assert task.params["VLR_IPAR_SIM_MAX_ITERATIONS"] == 1234
            assert task.params["VLR_DPAR_OPTIMIZER_MAX_TIME"] == 2.5


class TestLog:
    def test_lines_reach_the_callable_until_unlinked(self, example):
        lines = []
        with velor.Task() as task:
            task.set_log(lines.append)
            task.read(example)
            assert task.optimize() == "VLR_RES_OK"
            assert any("optimizer started" in s for s in lines)
            assert all(s.endswith("\n") for s in lines)
            task.set_log(None)
            count = len(lines)
            task.optimize()
            assert len(lines) == count

    def test_an_exception_in_the_callable_is_raised_from_the_call(self, example):
        def fail(text):
            raise KeyError("from the log")

        with velor.Task() as task:
            task.set_log(fail)
            with pytest.raises(KeyError, match="from the log"):
                task.read(example)


class TestProblemAndSolution:
    def test_arrays_in_files_out_and_back(self, tmp_path):
        with velor.Task() as task:
            A = transport(task)
            for name in ("t.lp", "t.mps.gz"):
                task.write(tmp_path / name)
                with velor.Task() as back:
                    back.read(tmp_path / name)
                    lp = back.get_lp()
                    np.testing.assert_array_equal(lp.A.toarray(), A)
                    np.testing.assert_array_equal(lp.c, [4, 6, 9, 5, 3, 7])
                    np.testing.assert_array_equal(lp.blc, [-np.inf, -np.inf, 15, 20, 18])
                    np.testing.assert_array_equal(lp.buc, [30, 25, np.inf, np.inf, np.inf])
                    np.testing.assert_array_equal(lp.bux[2], 10)
                    assert lp.sense == "min"

    def test_solution_arrays_satisfy_the_optimality_conditions(self, tmp_path):
        with velor.Task() as task:
            A = transport(task)
            task.optimize()
            s = task.solution()
            assert (s.which, s.solsta, s.prosta) == ("bas", "OPTIMAL", "PRIMAL_AND_DUAL_FEASIBLE")
            assert s.primal_obj == pytest.approx(275.0) and s.dual_obj == pytest.approx(275.0)
            np.testing.assert_allclose(s.xc, A @ s.x, atol=1e-9)
            np.testing.assert_allclose(s.y, s.slc - s.suc)
            np.testing.assert_allclose(s.reduced_costs, [4, 6, 9, 5, 3, 7] - A.T @ s.y,
                                       atol=1e-9)
            assert (s.slc >= 0).all() and (s.suc >= 0).all() and (s.slx >= 0).all()
            assert s.skc.dtype == np.int32 and s.skx.shape == (6,)
            basic = velor.const("VLR_SK_BAS")
            assert (s.skc == basic).sum() + (s.skx == basic).sum() == 5  # one per row
            task.write_solution(tmp_path / "t.sol")
            assert "OPTIMAL" in (tmp_path / "t.sol").read_text()
            with velor.Task() as back:
                transport(back)
                back.read_solution(tmp_path / "t.sol")
                b = back.solution()
                assert (b.solsta, b.prosta) == (s.solsta, s.prosta)
                np.testing.assert_array_equal(b.skx, s.skx)
                np.testing.assert_allclose(b.x, s.x, rtol=1e-10)
                np.testing.assert_allclose(b.y, s.y, rtol=1e-10)
                (tmp_path / "bad.sol").write_text("NAME : x\n")
                with pytest.raises(velor.VelorError) as err:
                    back.read_solution(tmp_path / "bad.sol")
                assert err.value.code == velor.const("VLR_RES_ERR_END_OF_FILE")
                assert back.solution().solsta == "OPTIMAL"
            # The default road leaves the interior solution beside the basic one.
            assert task.solution("itr").solsta == "OPTIMAL"
