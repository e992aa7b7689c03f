// The cluster's official client, doing what HostBench does. Prints WALL CPU, seconds, for each run. "write" and "small" do
// one run for each line on standard input.
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.net.URI;
import java.util.Arrays;
import java.util.Random;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.TimeUnit;

import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.fs.FSDataInputStream;
import org.apache.hadoop.fs.FSDataOutputStream;
import org.apache.hadoop.fs.FileStatus;
import org.apache.hadoop.fs.FileSystem;
import org.apache.hadoop.fs.Path;
import org.apache.hadoop.fs.RemoteIterator;

public final class ClientBench {
    private static final com.sun.management.OperatingSystemMXBean SYSTEM =
        (com.sun.management.OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();

    private interface Work {
        void run() throws Exception;
    }

    private static void measure(int runs, Work work) throws Exception {
        for (int run = 0; run < runs; ++run) {
            long cpu = SYSTEM.getProcessCpuTime();
            long start = System.nanoTime();
            work.run();
            System.out.printf("%.6f %.6f%n", (System.nanoTime() - start) / 1e9,
                              (SYSTEM.getProcessCpuTime() - cpu) / 1e9);
        }
    }

    /** One run of the work for each line that comes in; tidying up is not measured. */
    private static void inTurns(Work work, Work tidyUp) throws Exception {
        BufferedReader lines = new BufferedReader(new InputStreamReader(System.in));
        while (lines.readLine() != null) {
            long cpu = SYSTEM.getProcessCpuTime();
            long start = System.nanoTime();
            work.run();
            double wall = (System.nanoTime() - start) / 1e9;
            double used = (SYSTEM.getProcessCpuTime() - cpu) / 1e9;
            // A replica that a DataNode reports only when its file is deleted already may stay on its disk.
            Thread.sleep(500);
            tidyUp.run();
            System.out.printf("%.6f %.6f%n", wall, used);
            System.out.flush();
        }
    }

    private static byte[] noise(int size) {
        byte[] bytes = new byte[size];
        new Random(1).nextBytes(bytes);
        return bytes;
    }

    private static void write(FileSystem fs, Path path, long size, short replication, long blockSize, byte[] call)
            throws Exception {
        try (FSDataOutputStream out = fs.create(path, true, 4096, replication, blockSize)) {
            for (long left = size; left > 0;) {
                int count = (int) Math.min(left, call.length);
                out.write(call, 0, count);
                left -= count;
            }
        }
    }

    private static void writeInTurns(FileSystem fs, Path path, long size, short replication, long blockSize, int callSize)
            throws Exception {
        byte[] call = noise(callSize);
        inTurns(() -> write(fs, path, size, replication, blockSize, call), () -> fs.delete(path, true));
    }

    private static void writeSmallFilesInTurns(FileSystem fs, Path directory, int count) throws Exception {
        byte[] call = noise(4096);
        fs.mkdirs(directory);
        inTurns(() -> {
            for (int i = 0; i < count; ++i) {
                write(fs, new Path(directory, "small-" + i), call.length, (short) 1, call.length * 256, call);
            }
        }, () -> {
            fs.delete(directory, true);
            fs.mkdirs(directory);
        });
    }

    private static void read(FileSystem fs, Path path, int callSize, int runs) throws Exception {
        byte[] buffer = new byte[callSize];
        measure(runs, () -> {
            try (FSDataInputStream in = fs.open(path)) {
                // A call may give less than was asked for: the buffer is filled as the other side fills it.
                int filled = 0;
                int count;
                while ((count = in.read(buffer, filled, callSize - filled)) > 0) {
                    filled = (filled + count) % callSize;
                }
            }
        });
    }

    /** A fresh stream for each read: the connection is made anew, as it is by the other side. */
    private static void random(FileSystem fs, Path path, int count, int runs) throws Exception {
        byte[] buffer = new byte[4096];
        long places = fs.getFileStatus(path).getLen() - buffer.length;
        measure(runs, () -> {
            Random random = new Random(1);
            for (int i = 0; i < count; ++i) {
                try (FSDataInputStream in = fs.open(path)) {
                    in.seek((long) (random.nextDouble() * places));
                    in.readFully(buffer);
                }
            }
        });
    }

    private static void list(FileSystem fs, Path path, int runs) throws Exception {
        measure(runs, () -> {
            RemoteIterator<FileStatus> entries = fs.listStatusIterator(path);
            while (entries.hasNext()) {
                entries.next();
            }
        });
    }

    private static void stat(FileSystem fs, Path path, int count, int runs) throws Exception {
        for (int run = 0; run < runs; ++run) {
            double[] times = new double[count];
            long cpu = SYSTEM.getProcessCpuTime();
            for (int i = 0; i < count; ++i) {
                long start = System.nanoTime();
                fs.getFileStatus(path);
                times[i] = (System.nanoTime() - start) / 1e9;
            }
            Arrays.sort(times);
            System.out.printf("%.9f %.6f%n", times[count / 2], (SYSTEM.getProcessCpuTime() - cpu) / 1e9);
        }
    }

    /** Makes empty files, several at a time. */
    private static void fill(URI nameNode, Path directory, int count) throws Exception {
        int threads = 8;
        ExecutorService workers = Executors.newFixedThreadPool(threads);
        for (int first = 0; first < threads; ++first) {
            int start = first;
            workers.submit(() -> {
                FileSystem fs = FileSystem.newInstance(nameNode, new Configuration());
                for (int i = start; i < count; i += threads) {
                    fs.create(new Path(directory, String.format("file-%06d.dat", i))).close();
                }
                fs.close();
                return null;
            });
        }
        workers.shutdown();
        workers.awaitTermination(1, TimeUnit.HOURS);
    }

    public static void main(String[] arguments) throws Exception {
        URI nameNode = URI.create("hdfs://" + arguments[0]);
        Path path = new Path(arguments[2]);
        FileSystem fs = FileSystem.get(nameNode, new Configuration());
        if (arguments[1].equals("write")) {
            writeInTurns(fs, path, Long.parseLong(arguments[3]), Short.parseShort(arguments[4]),
                         Long.parseLong(arguments[5]), Integer.parseInt(arguments[6]));
            return;
        }
        int first = Integer.parseInt(arguments[3]);
        int second = arguments.length > 4 ? Integer.parseInt(arguments[4]) : 1;
        switch (arguments[1]) {
        case "read":
            read(fs, path, first, second);
            break;
        case "random":
            random(fs, path, first, second);
            break;
        case "list":
            list(fs, path, first);
            break;
        case "stat":
            stat(fs, path, first, second);
            break;
        case "small":
            writeSmallFilesInTurns(fs, path, first);
            break;
        case "fill":
            fill(nameNode, path, first);
            break;
        default:
            throw new IllegalArgumentException(arguments[1]);
        }
    }
}
