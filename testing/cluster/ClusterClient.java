// The tests' hands inside the private HDFS: the cluster's own Java client, kept warm in one JVM for a whole test run,
// because starting one for every command would take longer than the tests.
//
// Usage: java -cp CONFIGURATION:JARS ClusterClient.java OWNER_PID
//
// Prints the port that it listens on (loopback), then answers one request per connection and ends with the owner, or on
// "end". A request is a list of strings: the user to act as, a verb, its arguments. The answer is an exit status, what the
// verb printed, and what it complained about. Numbers are 4 bytes big-endian; strings are UTF-8 bytes behind their length.
//
// The verb "run" stands for any other program of this machine, for tests that may run on another system. It can be had
// while another verb waits for servers that are stopped.

import java.io.ByteArrayOutputStream;
import java.io.DataInputStream;
import java.io.DataOutputStream;
import java.io.File;
import java.io.IOException;
import java.io.PrintStream;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.security.PrivilegedExceptionAction;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.EnumSet;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.TimeUnit;

import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.fs.BlockLocation;
import org.apache.hadoop.fs.CreateFlag;
import org.apache.hadoop.fs.FSDataInputStream;
import org.apache.hadoop.fs.FSDataOutputStream;
import org.apache.hadoop.fs.FileStatus;
import org.apache.hadoop.fs.FileSystem;
import org.apache.hadoop.fs.FsShell;
import org.apache.hadoop.fs.Options;
import org.apache.hadoop.fs.Path;
import org.apache.hadoop.fs.permission.FsPermission;
import org.apache.hadoop.hdfs.tools.DFSAdmin;
import org.apache.hadoop.hdfs.tools.DFSck;
import org.apache.hadoop.security.UserGroupInformation;
import org.apache.hadoop.util.DataChecksum;
import org.apache.hadoop.util.ToolRunner;

public class ClusterClient {
    /** The bytes of a pattern file repeat after so many: a prime, so that no shift by chunks, packets or blocks fits. */
    private static final int TILE_SIZE = 1048573;
    private static final byte[] TILE = tile();

    private static final long MIB = 1L << 20;
    private static final int DATANODES = 3;
    private static final int PROGRAM_PATIENCE_SECONDS = 180;

    private final Configuration configuration = new Configuration();
    private final Map<String, FSDataOutputStream> openFiles = new HashMap<>();

    public static void main(String[] arguments) throws Exception {
        ProcessHandle owner = ProcessHandle.of(Long.parseLong(arguments[0]))
            .orElseThrow(() -> new IllegalArgumentException("there is no process " + arguments[0]));
        owner.onExit().thenRun(() -> Runtime.getRuntime().halt(0));
        try (ServerSocket server = new ServerSocket(0, 50, InetAddress.getByName("127.0.0.1"))) {
            System.out.println(server.getLocalPort());
            ClusterClient client = new ClusterClient();
            while (true) {
                Socket socket = server.accept();
                new Thread(() -> client.answerAndClose(socket)).start();
            }
        }
    }

    private void answerAndClose(Socket socket) {
        try (socket) {
            answer(socket);
        } catch (IOException problem) {
            System.err.println("a test went away in the middle: " + problem);
        }
    }

    private void answer(Socket socket) throws IOException {
        DataInputStream in = new DataInputStream(socket.getInputStream());
        String[] request = new String[in.readInt()];
        for (int i = 0; i < request.length; i++) {
            request[i] = new String(in.readNBytes(in.readInt()), StandardCharsets.UTF_8);
        }
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        ByteArrayOutputStream err = new ByteArrayOutputStream();
        int status = request[1].equals("run") ? runProgram(out, request) : runPrintingTo(out, err, request);
        DataOutputStream answer = new DataOutputStream(socket.getOutputStream());
        answer.writeInt(status);
        for (ByteArrayOutputStream text : Arrays.asList(out, err)) {
            answer.writeInt(text.size());
            text.writeTo(answer);
        }
        answer.flush();
    }

    /** Its output and its complaints in one. A program that runs for longer than a test may is ended. */
    private static int runProgram(ByteArrayOutputStream out, String[] request) throws IOException {
        File output = File.createTempFile("run", ".log");
        try {
            Process process = new ProcessBuilder(Arrays.copyOfRange(request, 2, request.length))
                .redirectInput(new File("/dev/null")).redirectErrorStream(true).redirectOutput(output).start();
            boolean hasEnded = process.waitFor(PROGRAM_PATIENCE_SECONDS, TimeUnit.SECONDS);
            process.destroyForcibly();
            out.write(Files.readAllBytes(output.toPath()));
            return hasEnded ? process.exitValue() : 255;
        } catch (IOException | InterruptedException problem) {
            out.write(problem.toString().getBytes(StandardCharsets.UTF_8));
            return 255;
        } finally {
            output.delete();
        }
    }

    private synchronized int runPrintingTo(ByteArrayOutputStream out, ByteArrayOutputStream err, String[] request) {
        PrintStream usualOut = System.out;
        PrintStream usualErr = System.err;
        System.setOut(new PrintStream(out, true, StandardCharsets.UTF_8));
        System.setErr(new PrintStream(err, true, StandardCharsets.UTF_8));
        try {
            UserGroupInformation user = UserGroupInformation.createRemoteUser(request[0]);
            try {
                return user.doAs((PrivilegedExceptionAction<Integer>) () -> run(request));
            } finally {
                FileSystem.closeAllForUGI(user);
            }
        } catch (Throwable problem) {
            problem.printStackTrace();
            return 255;
        } finally {
            System.out.flush();
            System.err.flush();
            System.setOut(usualOut);
            System.setErr(usualErr);
        }
    }

    private int run(String[] request) throws Exception {
        String[] rest = Arrays.copyOfRange(request, 2, request.length);
        switch (request[1]) {
        case "dfs":
            return ToolRunner.run(configuration, new FsShell(), rest);
        case "dfsadmin":
            return ToolRunner.run(configuration, new DFSAdmin(), rest);
        case "fsck":
            return ToolRunner.run(configuration, new DFSck(configuration), rest);
        case "list":
            for (FileStatus status : FileSystem.get(configuration).listStatus(new Path(rest[0]))) {
                print(status);
            }
            return 0;
        case "status":
            print(FileSystem.get(configuration).getFileStatus(new Path(rest[0])));
            return 0;
        case "entries":
            makeEntries(new Path(rest[0]), Integer.parseInt(rest[1]));
            return 0;
        case "pattern":
            makePatternFile(new Path(rest[0]), rest);
            return 0;
        case "pattern-part":
            makePartFile(new Path(rest[0]), Long.parseLong(rest[1]), Long.parseLong(rest[2]));
            return 0;
        case "check-pattern":
            return isPattern(new Path(rest[0]), Long.parseLong(rest[1])) ? 0 : 1;
        case "zeros":
            makeZeros(new Path(rest[0]), Long.parseLong(rest[1]));
            return 0;
        case "concat":
            concat(rest);
            return 0;
        case "open":
            openFile(rest[0], Long.parseLong(rest[1]), Long.parseLong(rest[2]));
            return 0;
        case "close":
            openFiles.remove(rest[0]).close();
            return 0;
        case "end":
            Runtime.getRuntime().halt(0);
        }
        throw new IllegalArgumentException("unknown verb " + request[1]);
    }

    /** kind, permission, replication, block size, length, modification and access time (ms), owner, group, name. */
    private static void print(FileStatus status) {
        String[] fields = {
            status.isDirectory() ? "D" : "F",
            Integer.toOctalString(status.getPermission().toShort()),
            Short.toString(status.getReplication()),
            Long.toString(status.getBlockSize()),
            Long.toString(status.getLen()),
            Long.toString(status.getModificationTime()),
            Long.toString(status.getAccessTime()),
            status.getOwner(),
            status.getGroup(),
            status.getPath().getName(),
        };
        System.out.print(String.join("\t", fields) + "\n");
    }

    /** Every tenth entry is a directory, the others are empty files. Their order by name is not the order of creation. */
    private void makeEntries(Path directory, int count) throws Exception {
        FileSystem fileSystem = FileSystem.get(configuration);
        if (fileSystem.exists(directory)) {
            return;
        }
        Path partial = directory.suffix(".partial");
        fileSystem.delete(partial, true);
        fileSystem.mkdirs(partial);
        ExecutorService workers = Executors.newFixedThreadPool(8);
        List<Future<Void>> made = new ArrayList<>();
        for (int i = 0; i < count; i++) {
            Path entry = new Path(partial, Integer.toString(i));
            boolean isDirectory = i % 10 == 0;
            made.add(workers.submit(() -> makeEntry(fileSystem, entry, isDirectory)));
        }
        workers.shutdown();
        for (Future<Void> entry : made) {
            entry.get();
        }
        fileSystem.rename(partial, directory);
    }

    private static Void makeEntry(FileSystem fileSystem, Path path, boolean isDirectory) throws IOException {
        if (isDirectory) {
            fileSystem.mkdirs(path);
        } else {
            fileSystem.create(path).close();
        }
        return null;
    }

    /** Arguments: path, length, block size, replication, bytes of a checksum chunk, checksum type ("CRC32C"). */
    private void makePatternFile(Path path, String[] arguments) throws Exception {
        long length = Long.parseLong(arguments[1]);
        short replication = Short.parseShort(arguments[3]);
        FileSystem fileSystem = FileSystem.get(configuration);
        if (!fileSystem.exists(path) || fileSystem.getFileStatus(path).getLen() != length) {
            Path partial = path.suffix(".partial");
            Options.ChecksumOpt checksum = new Options.ChecksumOpt(DataChecksum.Type.valueOf(arguments[5]),
                                                                   Integer.parseInt(arguments[4]));
            try (FSDataOutputStream out = create(fileSystem, partial, replication, Long.parseLong(arguments[2]),
                                                 checksum)) {
                writePattern(out, 0, length);
            }
            fileSystem.delete(path, false);
            fileSystem.rename(partial, path);
        }
        waitForReplicas(fileSystem, path, Math.min(replication, DATANODES));
    }

    /** The file is complete with the first replica of each block; the others become known one after the other. */
    private static void waitForReplicas(FileSystem fileSystem, Path path, int replicas) throws Exception {
        for (int attempt = 0; attempt < 600; attempt++) {
            boolean isWhole = true;
            for (BlockLocation block : fileSystem.getFileBlockLocations(path, 0, Long.MAX_VALUE)) {
                isWhole = isWhole && block.getNames().length >= replicas;
            }
            if (isWhole) {
                return;
            }
            Thread.sleep(50);
        }
        throw new IOException(path + " does not get its replicas");
    }

    /** What a pattern file has from an offset on, in a file of its own with one replica. */
    private void makePartFile(Path path, long offset, long length) throws IOException {
        try (FSDataOutputStream out = create(FileSystem.get(configuration), path, (short) 1, MIB, null)) {
            writePattern(out, offset, length);
        }
    }

    /** Whether a file is as long as that and has the bytes of a pattern file; says what is wrong. */
    private boolean isPattern(Path path, long length) throws IOException {
        FileSystem fileSystem = FileSystem.get(configuration);
        long stated = fileSystem.getFileStatus(path).getLen();
        if (stated != length) {
            System.err.println(path + " has " + stated + " bytes instead of " + length);
            return false;
        }
        byte[] bytes = new byte[TILE_SIZE];
        try (FSDataInputStream in = fileSystem.open(path)) {
            for (long offset = 0; offset < length; offset += TILE_SIZE) {
                int part = (int) Math.min(TILE_SIZE, length - offset);
                in.readFully(bytes, 0, part);
                int wrong = Arrays.mismatch(bytes, 0, part, TILE, 0, part);
                if (wrong >= 0) {
                    System.err.println(path + " is wrong at " + (offset + wrong));
                    return false;
                }
            }
            if (in.read() >= 0) {
                System.err.println(path + " goes on behind its end");
                return false;
            }
        }
        return true;
    }

    /** Zeros in one block with one replica; without checksums and in large packets, because there are many of them. */
    private void makeZeros(Path path, long length) throws IOException {
        Configuration quick = new Configuration(configuration);
        quick.setInt("dfs.client-write-packet-size", (int) MIB);
        Options.ChecksumOpt none = new Options.ChecksumOpt(DataChecksum.Type.NULL, 512);
        try (FileSystem fileSystem = FileSystem.newInstance(quick);
             FSDataOutputStream out = create(fileSystem, path, (short) 1, 1024 * MIB, none)) {
            byte[] zeros = new byte[(int) (4 * MIB)];
            for (long left = length; left > 0; left -= zeros.length) {
                out.write(zeros, 0, (int) Math.min(zeros.length, left));
            }
        }
    }

    /** Puts the content of the other files behind that of the first one, and they are gone. */
    private void concat(String[] paths) throws IOException {
        Path[] others = Arrays.stream(paths).skip(1).map(Path::new).toArray(Path[]::new);
        FileSystem.get(configuration).concat(new Path(paths[0]), others);
    }

    /** A writer that stays: what it has written so far can be read, and the file is under construction. */
    private void openFile(String path, long length, long blockSize) throws Exception {
        // Not the request's user: whatever he has open is closed when the request is done.
        FileSystem fileSystem = UserGroupInformation.getLoginUser().doAs(
            (PrivilegedExceptionAction<FileSystem>) () -> FileSystem.newInstance(configuration));
        FSDataOutputStream out = create(fileSystem, new Path(path), (short) 3, blockSize, null);
        writePattern(out, 0, length);
        out.hflush();
        openFiles.put(path, out);
    }

    private static FSDataOutputStream create(FileSystem fileSystem, Path path, short replication, long blockSize,
                                             Options.ChecksumOpt checksum) throws IOException {
        return fileSystem.create(path, FsPermission.getFileDefault(),
                                 EnumSet.of(CreateFlag.CREATE, CreateFlag.OVERWRITE), 4096, replication, blockSize, null,
                                 checksum);
    }

    /** The byte at each offset of a pattern file depends on the offset alone. */
    private static void writePattern(FSDataOutputStream out, long offset, long length) throws IOException {
        while (length > 0) {
            int start = (int) (offset % TILE_SIZE);
            int part = (int) Math.min(TILE_SIZE - start, length);
            out.write(TILE, start, part);
            offset += part;
            length -= part;
        }
    }

    private static byte[] tile() {
        byte[] bytes = new byte[TILE_SIZE];
        int state = 12345;
        for (int i = 0; i < bytes.length; i++) {
            state = state * 1664525 + 1013904223;
            bytes[i] = (byte) (state >>> 24);
        }
        return bytes;
    }
}
